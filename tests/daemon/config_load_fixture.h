// A configuration handler that loads from the running datastore.
#ifndef CFM_TESTS_DAEMON_CONFIG_LOAD_FIXTURE_H
#define CFM_TESTS_DAEMON_CONFIG_LOAD_FIXTURE_H

#include <string>
#include <vector>

#include "daemon/config_fixture.h"

namespace test {

inline constexpr int kSocket = 7;
inline const std::string kMds = "/config/oam/cfm/md";
inline const std::string kEast = "/config/oam/cfm/md{east}";
inline const std::string kBlue = kEast + "/ma{blue}";
inline const std::string kMep5 = kBlue + "/mep{5}";

class ConfigLoad : public Config {
 protected:
  ConfigLoad() { fake::Logs().clear(); }

  // MD east, its MA blue, and MEP 5 of that, with all their leaves.
  static void Fill() {
    FillMa();
    fake::AddInterface("eth0", 17);
    fake::AddEntry(kBlue + "/mep", 5);
    fake::SetLeaf(kMep5 + "/interface", "eth0");
    fake::SetLeaf(kMep5 + "/direction", fake::Enumeration{0});
    fake::SetLeaf(kMep5 + "/primary-vlan-id", 20);
    fake::SetEmptyLeaf(kMep5 + "/continuity-check/cci-enabled");
    fake::SetLeaf(kMep5 + "/continuity-check/lowest-fault-priority-defect", fake::Enumeration{3});
    fake::SetLeaf(kMep5 + "/continuity-check/fault-alarm-time", 3000);
    fake::SetLeaf(kMep5 + "/continuity-check/fault-reset-time", 4000);
    fake::SetLeaf(kMep5 + "/continuity-check/fault-action", fake::Enumeration{1});
  }
  static void FillMa() {
    fake::AddEntry(kMds, "east");
    fake::SetLeaf(kEast + "/level", 6);
    AddMa("blue");
    fake::SetLeaf(kBlue + "/remote-meps", std::vector<int>{9, 8});
  }
  static void AddMa(const std::string& ma) {
    const std::string path = kEast + "/ma{" + ma + "}";
    fake::AddEntry(kEast + "/ma", ma);
    fake::SetLeaf(path + "/ccm-interval", fake::Enumeration{1});
    fake::SetLeaf(path + "/primary-vlan-id", 20);
    fake::SetLeaf(path + "/vlan-list", std::vector<int>{10, 20, 10});
    fake::SetLeaf(path + "/remote-meps", std::vector<int>{});
  }

  const cfm::Hierarchy& Load() {
    config_->LoadInitialConfig(kSocket);
    return Sent();
  }
  static std::string Line(const std::string& function, const std::string& text) {
    return "12 config.cpp " + function + ": " + text;
  }
};

inline const char* const kLoading = "10 config.cpp LoadInitialConfig: Loading initial config";

}  // namespace test

#endif
