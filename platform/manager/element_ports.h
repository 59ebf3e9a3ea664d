// The ports that the element has by its interface table.
#ifndef CFM_MANAGER_ELEMENT_PORTS_H
#define CFM_MANAGER_ELEMENT_PORTS_H

#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "effect.h"
#include "interface_table.h"
#include "log_category.h"
#include "port.h"
#include "port_factory.h"

namespace cfm {

class ElementPorts {
 public:
  struct Handlers {
    std::function<void(engine::PortId port, engine::ByteView frame)> on_frame;
    // It has changed, has come or is gone: see Facts.
    std::function<void(engine::PortId port)> on_change;
  };

  // `factory` outlives the ports.
  ElementPorts(PortFactory& factory, const LogCategory& log, Handlers handlers);

  // Has exactly the ports of that table; those whose rows stay are not touched.
  // Calls on_change for the others. A port that cannot be had is left out, with
  // a line in the log.
  void Follow(const elem::InterfaceTable& table);

  // Empty when there is no such port.
  std::optional<engine::PortFacts> Facts(engine::PortId port) const;
  void Send(engine::PortId port, engine::ByteView frame);
  void SendToAllBut(engine::PortId port, engine::ByteView frame);

 private:
  struct Place {
    elem::Interface row;
    std::unique_ptr<Port> port;  // null: it could not be had
  };

  void DropAllBut(const elem::InterfaceTable& table);
  void Add(const elem::Interface& row);
  std::unique_ptr<Port> Make(const elem::Interface& row);

  PortFactory& factory_;
  LogCategory log_;
  Handlers handlers_;
  std::map<engine::PortId, Place> places_;
};

}  // namespace cfm

#endif
