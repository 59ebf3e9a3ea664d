// A configuration handler on the fake platform.
#ifndef CFM_TESTS_DAEMON_CONFIG_FIXTURE_H
#define CFM_TESTS_DAEMON_CONFIG_FIXTURE_H

#include <memory>
#include <string>

#include "cfm/hierarchy.h"
#include "config/config.h"
#include "daemon/death.h"
#include "daemon/fake_client.h"
#include "daemon/fake_confd.h"
#include "daemon/fake_element.h"
#include "daemon/platform_test.h"
#include "daemon/values.h"

namespace test {

class Config : public PlatformTest {
 protected:
  Config() { config_.reset(new cfm::Config(fake::Category(), &client_)); }

  // An MD "east" with an MA "blue" whose only and primary VLAN is 10.
  void CreateEastBlue() {
    CreateMd("east");
    CreateMa("east", "blue");
  }
  void CreateMd(const std::string& md) {
    confd_value_t key = Text(md);
    config_->CreateMd(&key);
  }
  void CreateMa(const std::string& md, const std::string& ma) {
    confd_value_t key = Text(ma);
    config_->CreateMa(md, &key);
    AddVlan(md, ma, 10);
    SetPrimaryVlan(md, ma, 10);
  }
  void CreateMep(const std::string& md, const std::string& ma, int mep) {
    confd_value_t key = Int32(mep);
    config_->CreateMep(md, ma, &key);
  }
  void AddVlan(const std::string& md, const std::string& ma, int vlan) {
    confd_value_t value = Int32(vlan);
    config_->AddOrRemoveMaVlanList(md, ma, &value, true);
  }
  void SetPrimaryVlan(const std::string& md, const std::string& ma, int vlan) {
    confd_value_t value = Int32(vlan);
    config_->SetMaPrimaryVlanId(md, ma, &value);
  }

  // The mirror, as the CFM manager gets it.
  const cfm::Hierarchy& Sent() {
    config_->ApplyCommitConfig();
    return fake::Applied().back();
  }
  const cfm::hierarchy_ma& SentBlue() { return Sent().at("east").mas.at("blue"); }
  const cfm::hierarchy_mep& SentMep(std::uint16_t mep) { return SentBlue().meps.at(mep); }

  static confd_value_t Text(const std::string& text) {
    confd_value_t value{};
    CONFD_SET_BUF(&value, reinterpret_cast<unsigned char*>(const_cast<char*>(text.c_str())),
                  static_cast<unsigned>(text.size()));
    return value;
  }

  cfm::Client client_{fake::Middleware(), nullptr};
  std::unique_ptr<cfm::Config> config_;
};

}  // namespace test

#endif
