// A random CFM configuration that changes by valid commits, together with what
// the daemon has to make of it.
#ifndef TESTS_SYSTEM_RANDOM_CONFIGURATION_H
#define TESTS_SYSTEM_RANDOM_CONFIGURATION_H

#include <agent.pb.h>

#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>

#include "cfm/hierarchy.h"

namespace test {

// The configuration in the terms of the data model; enumerations as their
// names.
struct ContinuityCheck {
  bool cci_enabled = false;
  // Absent: the default holds.
  std::optional<std::string> lowest_fault_priority_defect;
  std::optional<int> fault_alarm_time;
  std::optional<int> fault_reset_time;
  std::optional<std::string> fault_action;

  bool operator==(const ContinuityCheck&) const = default;
};

struct Mep {
  std::string interface;
  std::string direction;
  std::optional<int> primary_vlan_id;
  std::optional<ContinuityCheck> continuity_check;

  bool operator==(const Mep&) const = default;
};

struct Ma {
  std::string ccm_interval;
  int primary_vlan_id = 0;
  std::set<int> vlan_list;
  std::set<int> remote_meps;
  std::map<int, Mep> meps;

  bool operator==(const Ma&) const = default;
};

struct Md {
  int level = 0;
  std::map<std::string, Ma> mas;

  bool operator==(const Md&) const = default;
};

using Configuration = std::map<std::string, Md>;

// The names that interfaces have in the tests' interface table; the logical
// interface id of the first is 1.
inline constexpr const char* kInterfaces[] = {"eth0", "eth1", "eth2", "eth3"};

// Contents of that table.
std::string InterfaceTableText();

// What the CFM manager has to hold for a configuration, the VLANs after the
// primary ascending.
cfm::Hierarchy Expected(const Configuration& configuration);

// The configuration as a JSON document that replaces all that there is.
std::string DocumentOf(const Configuration& configuration);

class RandomConfiguration {
 public:
  explicit RandomConfiguration(std::uint32_t seed) : random_(seed) {}
  // The choices from now on follow from this seed and the configuration.
  void Reseed(std::uint32_t seed) { random_.seed(seed); }

  // Changes the configuration and returns the commit that does so: several
  // edits of leaves and entries, or the replacement of a subtree. Always
  // valid; may change nothing.
  cfm::agent::Edit NextCommit();
  // The commit that replaces everything by nothing.
  cfm::agent::Edit Clear();
  const Configuration& Current() const { return configuration_; }

 private:
  struct MaPlace {
    std::string md;
    std::string ma;
  };

  int Below(int limit);
  bool OneIn(int n) { return Below(n) == 0; }
  template <typename Container>
  auto Pick(Container& container);

  void Mutate(cfm::agent::Edit& edit);
  void CreateOrDeleteMd(cfm::agent::Edit& edit);
  void ChangeLevel(cfm::agent::Edit& edit);
  void CreateOrDeleteMa(cfm::agent::Edit& edit);
  void ReplaceMa(cfm::agent::Edit& edit);
  void ReplaceMd(cfm::agent::Edit& edit);
  void ChangeCcmInterval(cfm::agent::Edit& edit);
  void ChangePrimaryVlan(cfm::agent::Edit& edit);
  void ChangeVlanList(cfm::agent::Edit& edit);
  void ChangeRemoteMeps(cfm::agent::Edit& edit);
  void CreateOrDeleteMep(cfm::agent::Edit& edit);
  void MoveMepId(cfm::agent::Edit& edit);
  void ChangeMepLeaf(cfm::agent::Edit& edit);
  void ChangeMepVlan(cfm::agent::Edit& edit);
  void ChangeContinuityCheck(cfm::agent::Edit& edit);

  Md RandomMd();
  Ma RandomMa();
  Mep RandomMep();
  ContinuityCheck RandomContinuityCheck();
  std::string RandomMdName();
  std::string RandomMaName();
  std::optional<MaPlace> SomeMa();
  Ma& At(const MaPlace& place);

  std::mt19937 random_;
  Configuration configuration_;
};

}  // namespace test

#endif
