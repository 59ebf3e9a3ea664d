// cfm-managerd: runs the continuity check of the element's CFM configuration on
// the element's ports.
#include <exception>

#include "continuity_check.h"
#include "element_interfaces.h"
#include "event_loop.h"
#include "held_configuration.h"
#include "instance_lock.h"
#include "log_category.h"
#include "log_output.h"
#include "options.h"
#include "paths.h"
#include "peer.h"
#include "port_factory.h"
#include "server.h"

namespace {

void Serve(const cfm::Options& options) {
  const ipc::InstanceLock only_one(options.runtime_directory, "cfm-managerd");
  const cfm::LogCategory log("cfm-managerd");
  cfm::EventLoop loop;
  cfm::ElementInterfaces interfaces(options.interface_table, log);
  cfm::HeldConfiguration held([&interfaces] { return interfaces.Now(); });
  cfm::PortFactory factory(loop.Get(), options.runtime_directory, log);
  cfm::ContinuityCheck check(
      loop.Get(), factory, [&interfaces] { return interfaces.Table(); }, log);
  const ipc::Owner owner = ipc::OwnerWithViewGroup(options.view_group);
  if (!owner.view_gid) {
    log.Info("there is no group '" + options.view_group + "': nobody may only look");
  }
  const cfm::Server server(loop.Get(), options.runtime_directory / ipc::ManagerSocket().filename(),
                           owner, held, check, log);
  loop.Run();
}

}  // namespace

int main(int argc, char** argv) {
  const cfm::CommandLine command_line = cfm::ReadCommandLine(argc, argv);
  if (!command_line.options) {
    return command_line.exit_status;
  }
  try {
    Serve(*command_line.options);
    return 0;
  } catch (const std::exception& error) {
    ipc::ReportError(error.what());
    return 1;
  }
}
