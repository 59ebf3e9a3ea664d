// Which configuration goes to the manager, and when.
#ifndef CFM_CONFIGURATION_QUEUE_H
#define CFM_CONFIGURATION_QUEUE_H

#include <cstdint>
#include <functional>

#include "cfm/hierarchy.h"
#include "manager.pb.h"

namespace cfm {

// Keeps the newest configuration, and one under way at a time: the next goes
// out when the manager has answered, and those that were replaced meanwhile
// never do. So a manager that stops reading costs the memory of two
// configurations, however often the operator commits.
class ConfigurationQueue {
 public:
  using Send = std::function<void(const manager::FromClient&)>;

  explicit ConfigurationQueue(Send send);

  // Replaces the configuration. Throws ipc::ProtocolError for one that no
  // frame can hold, and then keeps the one before.
  void Put(const Hierarchy& hierarchy);

  // The manager takes configurations now, and has none of ours.
  void Connected();
  void Disconnected();
  // The manager has answered. Throws ipc::ProtocolError for the number of a
  // configuration that is not under way.
  void Applied(std::uint64_t number);

 private:
  void SendWhenDue();

  Send send_;
  manager::FromClient newest_;
  std::uint64_t newest_number_ = 0;  // 0: there is none yet
  std::uint64_t sent_number_ = 0;    // the last one sent on this connection; 0: none
  bool connected_ = false;
  bool under_way_ = false;
};

}  // namespace cfm

#endif
