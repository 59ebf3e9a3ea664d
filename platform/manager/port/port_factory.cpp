#include "port_factory.h"

#include <utility>

#include "linux_port.h"
#include "wire_mac.h"
#include "wire_port.h"

namespace cfm {

PortFactory::PortFactory(sd_event* loop, std::filesystem::path runtime_directory,
                         const LogCategory& log)
    : loop_(loop), runtime_directory_(std::move(runtime_directory)), log_(log) {}

std::unique_ptr<Port> PortFactory::Make(const elem::Interface& row, Port::Handlers handlers) {
  return row.kind == elem::PortKind::kWire ? MakeWire(row, std::move(handlers))
                                           : MakeLinux(row, std::move(handlers));
}

std::unique_ptr<Port> PortFactory::MakeWire(const elem::Interface& row, Port::Handlers handlers) {
  WirePort::Place place{
      .name = row.name, .path = row.argument, .mac = WireMac(runtime_directory_, row.name)};
  return std::make_unique<WirePort>(loop_, std::move(place), log_, std::move(handlers));
}

std::unique_ptr<Port> PortFactory::MakeLinux(const elem::Interface& row, Port::Handlers handlers) {
  if (!links_) {
    links_.emplace(loop_);
  }
  return std::make_unique<LinuxPort>(loop_, *links_,
                                     LinuxPort::Place{.name = row.name, .device = row.argument},
                                     log_, std::move(handlers));
}

}  // namespace cfm
