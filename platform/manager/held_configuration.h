// The configuration that the manager works by.
#ifndef CFM_MANAGER_HELD_CONFIGURATION_H
#define CFM_MANAGER_HELD_CONFIGURATION_H

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "cfm/hierarchy.h"
#include "hierarchy_diff.h"
#include "interface_check.h"

namespace cfm {

namespace manager {
class Configuration;
}

// What another configuration changes.
struct Replacement {
  HierarchyChanges changes;
  std::set<std::string> mds;  // those that came, went, or are not as they were
};

// Belongs to no connection: it stays in force when the client that gave it
// goes away, because the traffic that it watches goes on.
class HeldConfiguration {
 public:
  // Tells the interfaces that the element has now; asked once a configuration.
  using Interfaces = std::function<InterfaceExists()>;

  explicit HeldConfiguration(Interfaces interfaces);

  // Puts another configuration in force, also one with warnings. An MD whose
  // bytes are those of before is not looked into. Throws ipc::ProtocolError
  // (hierarchy_codec.h), and then nothing has changed.
  Replacement Replace(const manager::Configuration& configuration);
  // What else cannot be used of the configuration in force.
  void AddWarnings(const std::vector<std::string>& warnings) {
    warnings_.insert(warnings_.end(), warnings.begin(), warnings.end());
  }

  std::uint64_t Number() const { return number_; }  // 0: none was given yet
  const Hierarchy& Get() const { return hierarchy_; }
  // What cannot be used of it, one line each.
  const std::vector<std::string>& Warnings() const { return warnings_; }

 private:
  // The name of each MD by its bytes.
  using Encoded = std::unordered_map<std::string, std::string>;

  Interfaces interfaces_;
  std::uint64_t number_ = 0;
  Encoded encoded_;
  Hierarchy hierarchy_;
  std::vector<std::string> warnings_;
};

// A log line's worth: sizes, then what was added, removed and changed.
std::string AppliedText(const HeldConfiguration& held, const HierarchyChanges& changes);

}  // namespace cfm

#endif
