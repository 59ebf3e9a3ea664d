#include "element_ports.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

namespace cfm {

ElementPorts::ElementPorts(PortFactory& factory, const LogCategory& log, Handlers handlers)
    : factory_(factory), log_(log), handlers_(std::move(handlers)) {}

void ElementPorts::Follow(const elem::InterfaceTable& table) {
  DropAllBut(table);
  for (const elem::Interface& row : table.All()) {
    if (places_.find(row.limid) == places_.end()) {
      Add(row);
    }
  }
}

void ElementPorts::DropAllBut(const elem::InterfaceTable& table) {
  for (auto next = places_.begin(); next != places_.end();) {
    const auto place = next++;
    const elem::Interface* row = table.FindByLimid(place->first);
    if (row == nullptr || !(*row == place->second.row)) {
      const engine::PortId port = place->first;
      places_.erase(place);
      handlers_.on_change(port);
    }
  }
}

void ElementPorts::Add(const elem::Interface& row) {
  places_.emplace(row.limid, Place{row, Make(row)});
  handlers_.on_change(row.limid);
}

std::unique_ptr<Port> ElementPorts::Make(const elem::Interface& row) {
  const engine::PortId id = row.limid;
  try {
    return factory_.Make(
        row, {.on_frame = [this, id](engine::ByteView frame) { handlers_.on_frame(id, frame); },
              .on_change = [this, id] { handlers_.on_change(id); }});
  } catch (const std::exception& error) {
    log_.Error(fmt::format("port {} cannot be used: {}", row.name, error.what()));
    return nullptr;
  }
}

std::optional<engine::PortFacts> ElementPorts::Facts(engine::PortId port) const {
  const auto place = places_.find(port);
  if (place == places_.end() || !place->second.port) {
    return std::nullopt;
  }
  return place->second.port->Facts();
}

void ElementPorts::Send(engine::PortId port, engine::ByteView frame) {
  const auto place = places_.find(port);
  if (place != places_.end() && place->second.port) {
    place->second.port->Send(frame);
  }
}

void ElementPorts::SendToAllBut(engine::PortId port, engine::ByteView frame) {
  for (const auto& [id, place] : places_) {
    if (id != port && place.port) {
      place.port->Send(frame);
    }
  }
}

}  // namespace cfm
