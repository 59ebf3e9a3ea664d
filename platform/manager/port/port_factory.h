// Ports by their rows in the interface table.
#ifndef CFM_MANAGER_PORT_FACTORY_H
#define CFM_MANAGER_PORT_FACTORY_H

#include <systemd/sd-event.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "interface_table.h"
#include "link_monitor.h"
#include "log_category.h"
#include "port.h"

namespace cfm {

class PortFactory {
 public:
  PortFactory(sd_event* loop, std::filesystem::path runtime_directory, const LogCategory& log);

  // The factory outlives the port. Throws std::exception when the port cannot
  // be had for reasons that will not pass.
  std::unique_ptr<Port> Make(const elem::Interface& row, Port::Handlers handlers);

 private:
  std::unique_ptr<Port> MakeWire(const elem::Interface& row, Port::Handlers handlers);
  std::unique_ptr<Port> MakeLinux(const elem::Interface& row, Port::Handlers handlers);

  sd_event* loop_;
  std::filesystem::path runtime_directory_;
  LogCategory log_;
  std::optional<LinkMonitor> links_;  // from the first port that needs it
};

}  // namespace cfm

#endif
