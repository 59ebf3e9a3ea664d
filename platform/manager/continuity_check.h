// The engine at work: the system's clock and the element's ports around it.
#ifndef CFM_MANAGER_CONTINUITY_CHECK_H
#define CFM_MANAGER_CONTINUITY_CHECK_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "cfm/hierarchy.h"
#include "element_ports.h"
#include "engine.h"
#include "event_source.h"
#include "interface_table.h"
#include "log_category.h"
#include "port_factory.h"

namespace cfm {

class ContinuityCheck {
 public:
  // Null when there is no table that could be used: the ports stay as they are.
  using Table = std::function<const elem::InterfaceTable*()>;
  // Is told of every effect, in the order of the engine.
  using Listener = std::function<void(const engine::Effect&)>;

  // `factory` outlives the check. Asks for the table now and before every
  // configuration. Throws std::system_error.
  ContinuityCheck(sd_event* loop, PortFactory& factory, Table table, const LogCategory& log);

  ContinuityCheck(const ContinuityCheck&) = delete;
  ContinuityCheck& operator=(const ContinuityCheck&) = delete;

  void SetListener(Listener listener) { listener_ = std::move(listener); }

  // As the engine's operations of these names. Listeners have been told when
  // they return.
  std::vector<std::string> Apply(const Hierarchy& hierarchy, const std::set<std::string>& touched);
  void ReportAll();
  std::vector<engine::MepStatistics> Statistics() const { return engine_.Statistics(); }
  void ClearStatistics(std::string_view md, std::string_view ma, std::uint16_t mep) {
    engine_.ClearStatistics(md, ma, mep);
  }

 private:
  static int OnDeadline(sd_event_source* source, std::uint64_t usec, void* self) noexcept;

  void FollowTable();
  void OnFrame(engine::PortId port, engine::ByteView frame);
  void OnPortChange(engine::PortId port);
  // After every input.
  void Settle();
  void CarryOut(const engine::Effect& effect);
  void ArmTimer();

  Table table_;
  LogCategory log_;
  Listener listener_ = [](const engine::Effect&) {};
  engine::Engine engine_;
  ElementPorts ports_;
  std::optional<engine::Nanoseconds> armed_;
  ipc::EventSource timer_;
};

}  // namespace cfm

#endif
