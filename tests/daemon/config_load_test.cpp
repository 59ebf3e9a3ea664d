#include "daemon/config_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

constexpr int kSocket = 7;
const std::string kMds = "/config/oam/cfm/md";
const std::string kEast = "/config/oam/cfm/md{east}";
const std::string kBlue = kEast + "/ma{blue}";
const std::string kMep5 = kBlue + "/mep{5}";

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

using ConfigLoadDeath = ConfigLoad;
const char* const kLoading = "10 config.cpp LoadInitialConfig: Loading initial config";

TEST_F(ConfigLoad, WithoutDomainsItOnlySaysThatItLoads) {
  EXPECT_THAT(Load(), IsEmpty());
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
  EXPECT_THAT(fake::CdbCalls(), ElementsAre("cdb_num_instances 7 /config/oam/cfm/md"));
}

TEST_F(ConfigLoad, ADomainListThatCannotBeCountedLoadsNothing) {
  Fill();
  fake::FailCdb(kMds, "gone");
  EXPECT_THAT(Load(), IsEmpty());
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
}

TEST_F(ConfigLoad, EverythingIsReadInItsOrder) {
  Fill();
  Load();
  const std::string continuity = kMep5 + "/continuity-check";
  EXPECT_THAT(
      fake::CdbCalls(),
      ElementsAre("cdb_num_instances 7 /config/oam/cfm/md",
                  "cdb_get 7 /config/oam/cfm/md[0]/id",  //
                  "cdb_get 7 " + kEast + "/level", "cdb_num_instances 7 /config/oam/cfm/md[0]/ma",
                  "cdb_get 7 /config/oam/cfm/md[0]/ma[0]/id",
                  "cdb_get 7 " + kBlue + "/ccm-interval", "cdb_get 7 " + kBlue + "/primary-vlan-id",
                  "cdb_get_list 7 " + kBlue + "/vlan-list",
                  "cdb_get_list 7 " + kBlue + "/remote-meps",
                  "cdb_num_instances 7 /config/oam/cfm/md[0]/ma[0]/mep",
                  "cdb_get 7 /config/oam/cfm/md[0]/ma[0]/mep[0]/id",
                  "cdb_get 7 " + kMep5 + "/interface",  //
                  "cdb_get 7 " + kMep5 + "/direction", "cdb_get 7 " + kMep5 + "/primary-vlan-id",
                  "cdb_exists 7 " + continuity + "/cci-enabled",
                  "cdb_get 7 " + continuity + "/lowest-fault-priority-defect",
                  "cdb_get 7 " + continuity + "/fault-alarm-time",
                  "cdb_get 7 " + continuity + "/fault-reset-time",
                  "cdb_get 7 " + continuity + "/fault-action"));
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
}

TEST_F(ConfigLoad, EverythingReachesTheManager) {
  Fill();
  const cfm::hierarchy_md& md = Load().at("east");
  EXPECT_EQ(md.name_format, 4u);
  EXPECT_EQ(md.level, 6);
  const cfm::hierarchy_ma& ma = md.mas.at("blue");
  EXPECT_EQ(ma.md, "east");
  EXPECT_EQ(ma.association.name_format, 2u);
  EXPECT_THAT(ma.association.vlan_list, ElementsAre(20, 10, 10));
  EXPECT_EQ(static_cast<int>(ma.association.ccm_interval), 5);
  EXPECT_THAT(ma.association.mep_ids, ElementsAre(5, 8, 9));
  const cfm::hierarchy_mep& mep = ma.meps.at(5);
  EXPECT_EQ(mep.md, "east");
  EXPECT_EQ(mep.ma, "blue");
  EXPECT_EQ(mep.mep_id, 5);
  EXPECT_EQ(static_cast<int>(mep.direction), 2);
  EXPECT_EQ(mep.logical_interface_id, 17u);
  EXPECT_EQ(mep.primary_vlan_id, 20);
  EXPECT_TRUE(mep.cci_enabled);
  EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), 4);
  EXPECT_EQ(mep.fault_alarm_time, 3000);
  EXPECT_EQ(mep.fault_reset_time, 4000);
  EXPECT_EQ(static_cast<int>(mep.fault_action), 1);
}

TEST_F(ConfigLoad, NothingIsSentBeforeTheConfigurationIsApplied) {
  Fill();
  config_->LoadInitialConfig(kSocket);
  EXPECT_THAT(fake::Applied(), IsEmpty());
}

// Two names, the interface, and five elements of leaf-lists.
TEST_F(ConfigLoad, WhatTheCdbHandedOutIsFreed) {
  Fill();
  Load();
  EXPECT_EQ(fake::LiveValues(), 0);
  EXPECT_EQ(fake::FreedValues(), 3 + 5);
}

TEST_F(ConfigLoad, EveryDomainAssociationAndMepIsLoaded) {
  Fill();
  AddMa("red");
  fake::AddEntry(kBlue + "/mep", 6);
  fake::AddEntry(kMds, "west");
  const cfm::Hierarchy& sent = Load();
  EXPECT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent.at("east").mas.size(), 2u);
  EXPECT_EQ(sent.at("east").mas.at("blue").meps.size(), 2u);
  EXPECT_EQ(sent.at("east").mas.at("red").meps.size(), 0u);
}

TEST_F(ConfigLoad, ADomainWhoseIdCannotBeReadIsSkippedWithAllBelowIt) {
  Fill();
  fake::AddEntry(kMds, "west");
  fake::SetLeaf("/config/oam/cfm/md{west}/level", 3);
  fake::FailCdb("/config/oam/cfm/md[0]/id", "no luck");
  const cfm::Hierarchy& sent = Load();
  EXPECT_EQ(sent.count("east"), 0u);
  EXPECT_EQ(sent.at("west").level, 3);
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre(kLoading, Line("LoadInitialConfig",
                                         "Error loading initial config for MD index 0: no luck")));
}

TEST_F(ConfigLoad, AnAssociationWhoseIdCannotBeReadIsSkippedWithAllBelowIt) {
  Fill();
  AddMa("red");
  fake::FailCdb("/config/oam/cfm/md[0]/ma[0]/id", "no luck");
  const cfm::Hierarchy& sent = Load();
  EXPECT_EQ(sent.at("east").mas.count("blue"), 0u);
  EXPECT_EQ(sent.at("east").mas.count("red"), 1u);
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre(kLoading, Line("LoadInitialConfig",
                                         "Error loading initial config for MA index 0 (MD 'east'): "
                                         "no luck")));
}

TEST_F(ConfigLoad, AMepWhoseIdCannotBeReadIsSkipped) {
  Fill();
  fake::AddEntry(kBlue + "/mep", 6);
  fake::SetLeaf(kBlue + "/mep{6}/interface", "eth0");
  fake::SetLeaf(kBlue + "/mep{6}/direction", fake::Enumeration{1});
  fake::FailCdb("/config/oam/cfm/md[0]/ma[0]/mep[0]/id", "no luck");
  const cfm::hierarchy_ma& ma = Load().at("east").mas.at("blue");
  EXPECT_EQ(ma.meps.count(5), 0u);
  EXPECT_EQ(ma.meps.at(6).logical_interface_id, 17u);
  EXPECT_EQ(fake::LogTexts().at(1),
            Line("LoadInitialConfig",
                 "Error loading initial config for MEP index 0 (MD 'east' MA 'blue'): no luck"));
}

TEST_F(ConfigLoad, AssociationsThatCannotBeCountedAreNone) {
  Fill();
  fake::FailCdb("/config/oam/cfm/md[0]/ma", "gone");
  EXPECT_THAT(Load().at("east").mas, IsEmpty());
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
}

TEST_F(ConfigLoad, MepsThatCannotBeCountedAreNone) {
  Fill();
  fake::FailCdb("/config/oam/cfm/md[0]/ma[0]/mep", "gone");
  EXPECT_THAT(Load().at("east").mas.at("blue").meps, IsEmpty());
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
}

TEST_F(ConfigLoad, ALevelThatCannotBeReadKeepsItsCreationValue) {
  Fill();
  fake::FailCdb(kEast + "/level", "no luck");
  EXPECT_EQ(Load().at("east").level, 0);
  EXPECT_THAT(
      fake::LogTexts(),
      ElementsAre(kLoading, Line("LoadMaintenanceDomain",
                                 "Error loading initial config of MD 'east' level: no luck")));
}

struct LeafFailure {
  std::string path;
  std::string text;
};

TEST_F(ConfigLoad, ALeafOfAnMaThatCannotBeReadIsSkippedAlone) {
  Fill();
  // The primary VLAN is not among them: without it the MA cannot be applied.
  const LeafFailure failures[] = {{"ccm-interval", "ccm-interval: e0"},
                                  {"remote-meps", "remote-meps: e1"}};
  int index = 0;
  for (const LeafFailure& failure : failures) {
    fake::FailCdb(kBlue + "/" + failure.path, "e" + std::to_string(index++));
  }
  const cfm::hierarchy_ma& ma = Load().at("east").mas.at("blue");
  EXPECT_EQ(static_cast<int>(ma.association.ccm_interval), 0);
  EXPECT_THAT(ma.association.mep_ids, ElementsAre(5));
  EXPECT_THAT(ma.association.vlan_list, ElementsAre(20, 10, 10));
  EXPECT_THAT(
      fake::LogTexts(),
      ElementsAre(kLoading,
                  Line("LoadMaintenanceAssociation",
                       "Error loading initial config of MD 'east' MA 'blue' ccm-interval: e0"),
                  Line("LoadMaintenanceAssociation",
                       "Error loading initial config of MD 'east' MA 'blue' remote-meps: e1")));
}

TEST_F(ConfigLoad, PrimaryVlanAndVlanListThatCannotBeReadAreLogged) {
  Fill();
  fake::FailCdb(kBlue + "/primary-vlan-id", "e0");
  fake::FailCdb(kBlue + "/vlan-list", "e1");
  config_->LoadInitialConfig(kSocket);
  EXPECT_THAT(
      fake::LogTexts(),
      ElementsAre(kLoading,
                  Line("LoadMaintenanceAssociation",
                       "Error loading initial config of MD 'east' MA 'blue' primary-vlan-id: e0"),
                  Line("LoadMaintenanceAssociation",
                       "Error loading initial config of MD 'east' MA 'blue' vlan-list: e1")));
  AddVlan("east", "blue", 0);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(0));
}

TEST_F(ConfigLoad, LeavesOfAMepThatCannotBeReadKeepTheirCreationValues) {
  Fill();
  const LeafFailure failures[] = {
      {"interface", "interface"},
      {"direction", "direction"},
      {"primary-vlan-id", "primary-vlan-id"},
      {"continuity-check/lowest-fault-priority-defect", "cci/lowest-fault-priority-defect"},
      {"continuity-check/fault-alarm-time", "cci/fault-alarm-time"},
      {"continuity-check/fault-reset-time", "cci/fault-reset-time"},
      {"continuity-check/fault-action", "fault-action"},
  };
  std::vector<std::string> expected = {kLoading};
  for (const LeafFailure& failure : failures) {
    fake::FailCdb(kMep5 + "/" + failure.path, "no " + failure.text);
    expected.push_back(Line("LoadMaintenanceEndPoint",
                            "Error loading initial config of MD 'east' MA 'blue' MEP '5' " +
                                failure.text + ": no " + failure.text));
  }
  const cfm::hierarchy_mep& mep = Load().at("east").mas.at("blue").meps.at(5);
  EXPECT_EQ(fake::LogTexts(), expected);
  EXPECT_EQ(mep.logical_interface_id, 0u);
  EXPECT_EQ(static_cast<int>(mep.direction), 0);
  EXPECT_EQ(mep.primary_vlan_id, 0);
  EXPECT_TRUE(mep.cci_enabled);
  EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), 2);
  EXPECT_EQ(mep.fault_alarm_time, 2500);
  EXPECT_EQ(mep.fault_reset_time, 10000);
  EXPECT_EQ(static_cast<int>(mep.fault_action), 0);
}

TEST_F(ConfigLoad, OneFailingLeafOfAMepDoesNotKeepTheOthersFromBeingRead) {
  Fill();
  fake::FailCdb(kMep5 + "/primary-vlan-id", "not there");
  const cfm::hierarchy_mep& mep = Load().at("east").mas.at("blue").meps.at(5);
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre(kLoading, Line("LoadMaintenanceEndPoint",
                                         "Error loading initial config of MD 'east' MA 'blue' MEP "
                                         "'5' primary-vlan-id: not there")));
  EXPECT_TRUE(mep.cci_enabled);
  EXPECT_EQ(mep.fault_alarm_time, 3000);
}

TEST_F(ConfigLoad, ContinuityChecksAreOffWhenTheirLeafDoesNotExist) {
  FillMa();
  fake::AddEntry(kBlue + "/mep", 5);
  EXPECT_FALSE(Load().at("east").mas.at("blue").meps.at(5).cci_enabled);
}

TEST_F(ConfigLoad, ContinuityChecksAreOnWhenTheirLeafCannotBeRead) {
  FillMa();
  fake::AddEntry(kBlue + "/mep", 5);
  fake::FailCdb(kMep5 + "/continuity-check/cci-enabled", "no luck");
  EXPECT_TRUE(Load().at("east").mas.at("blue").meps.at(5).cci_enabled);
  for (const std::string& line : fake::LogTexts()) {
    EXPECT_THAT(line, testing::Not(testing::HasSubstr("cci-enabled")));
  }
}

TEST_F(ConfigLoad, ALongDomainNameIsKeptForTheDomainAndCutForAllBelowIt) {
  const std::string name(70, 'n');
  const std::string cut(63, 'n');
  fake::AddEntry(kMds, name);
  fake::SetLeaf("/config/oam/cfm/md{" + name + "}/level", 6);
  fake::AddEntry("/config/oam/cfm/md{" + name + "}/ma", "blue");
  fake::SetLeaf("/config/oam/cfm/md{" + cut + "}/ma{blue}/primary-vlan-id", 10);
  fake::SetLeaf("/config/oam/cfm/md{" + cut + "}/ma{blue}/vlan-list", std::vector<int>{10});
  const cfm::Hierarchy& sent = Load();
  EXPECT_EQ(sent.at(name).name_format, 4u);
  EXPECT_EQ(sent.at(name).level, 0);
  EXPECT_THAT(sent.at(name).mas, IsEmpty());
  EXPECT_EQ(sent.at(cut).name_format, 0u);
  EXPECT_EQ(sent.at(cut).mas.at("blue").md, cut);
  EXPECT_EQ(fake::LogTexts().at(1),
            Line("LoadMaintenanceDomain",
                 "Error loading initial config of MD '" + cut + "' level: item does not exist"));
}

TEST_F(ConfigLoad, ALongAssociationNameIsKeptForTheAssociationAndCutForAllBelowIt) {
  const std::string name(64, 'n');
  const std::string cut(63, 'n');
  fake::AddEntry(kMds, "east");
  fake::AddEntry(kEast + "/ma", name);
  fake::AddEntry(kEast + "/ma{" + name + "}/mep", 5);
  config_->LoadInitialConfig(kSocket);
  AddVlan("east", name, 0);
  AddVlan("east", cut, 0);
  const auto& mas = Sent().at("east").mas;
  EXPECT_THAT(mas.at(name).meps, IsEmpty());
  EXPECT_EQ(mas.at(cut).meps.at(5).ma, cut);
}

TEST_F(ConfigLoad, AMepIdTakesTheLow16Bits) {
  FillMa();
  fake::AddEntry(kBlue + "/mep", 70000);
  EXPECT_EQ(Load().at("east").mas.at("blue").meps.at(4464).mep_id, 4464);
  EXPECT_THAT(fake::CdbCalls(), testing::Contains("cdb_get 7 " + kBlue + "/mep{4464}/interface"));
}

TEST_F(ConfigLoadDeath, KeysOfAnotherTypeFailTheAssertion) {
  fake::AddEntry(kMds, 1);
  EXPECT_DEATH(config_->LoadInitialConfig(kSocket), Assertion("(&v)->type == C_BUF"));
  fake::Reset();
  fake::AddEntry(kMds, "east");
  fake::AddEntry(kEast + "/ma", 1);
  EXPECT_DEATH(config_->LoadInitialConfig(kSocket), Assertion("(&v)->type == C_BUF"));
  fake::Reset();
  FillMa();
  fake::AddEntry(kBlue + "/mep", "five");
  EXPECT_DEATH(config_->LoadInitialConfig(kSocket), Assertion("(&v)->type == C_INT32"));
}

TEST_F(ConfigLoadDeath, AnUnknownEnumerationValueEndsTheProcessDuringTheLoadToo) {
  Fill();
  fake::SetLeaf(kMep5 + "/direction", fake::Enumeration{2});
  EXPECT_EXIT(config_->LoadInitialConfig(kSocket), ExitedWithCode(1),
              FatalFault("SetMepDirection", "Unsupported MEP direction: enum(2)"));
}

}  // namespace
}  // namespace test
