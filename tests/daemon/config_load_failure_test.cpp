// The initial load of a configuration that cannot be read in parts.
#include "daemon/config_load_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using ConfigLoadFailure = ConfigLoad;

struct LeafFailure {
  std::string path;
  std::string text;
};

TEST_F(ConfigLoadFailure, ADomainListThatCannotBeCountedLoadsNothing) {
  Fill();
  fake::FailCdb(kMds, "gone");
  EXPECT_THAT(Load(), IsEmpty());
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
}

TEST_F(ConfigLoadFailure, ADomainWhoseIdCannotBeReadIsSkippedWithAllBelowIt) {
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

TEST_F(ConfigLoadFailure, AnAssociationWhoseIdCannotBeReadIsSkippedWithAllBelowIt) {
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

TEST_F(ConfigLoadFailure, AMepWhoseIdCannotBeReadIsSkipped) {
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

TEST_F(ConfigLoadFailure, AssociationsThatCannotBeCountedAreNone) {
  Fill();
  fake::FailCdb("/config/oam/cfm/md[0]/ma", "gone");
  EXPECT_THAT(Load().at("east").mas, IsEmpty());
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
}

TEST_F(ConfigLoadFailure, MepsThatCannotBeCountedAreNone) {
  Fill();
  fake::FailCdb("/config/oam/cfm/md[0]/ma[0]/mep", "gone");
  EXPECT_THAT(Load().at("east").mas.at("blue").meps, IsEmpty());
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
}

TEST_F(ConfigLoadFailure, ALevelThatCannotBeReadKeepsItsCreationValue) {
  Fill();
  fake::FailCdb(kEast + "/level", "no luck");
  EXPECT_EQ(Load().at("east").level, 0);
  EXPECT_THAT(
      fake::LogTexts(),
      ElementsAre(kLoading, Line("LoadMaintenanceDomain",
                                 "Error loading initial config of MD 'east' level: no luck")));
}

TEST_F(ConfigLoadFailure, ALeafOfAnMaThatCannotBeReadIsSkippedAlone) {
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

TEST_F(ConfigLoadFailure, PrimaryVlanAndVlanListThatCannotBeReadAreLogged) {
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

TEST_F(ConfigLoadFailure, LeavesOfAMepThatCannotBeReadKeepTheirCreationValues) {
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

TEST_F(ConfigLoadFailure, OneFailingLeafOfAMepDoesNotKeepTheOthersFromBeingRead) {
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

TEST_F(ConfigLoadFailure, ContinuityChecksAreOnWhenTheirLeafCannotBeRead) {
  FillMa();
  fake::AddEntry(kBlue + "/mep", 5);
  fake::FailCdb(kMep5 + "/continuity-check/cci-enabled", "no luck");
  EXPECT_TRUE(Load().at("east").mas.at("blue").meps.at(5).cci_enabled);
  for (const std::string& line : fake::LogTexts()) {
    EXPECT_THAT(line, testing::Not(testing::HasSubstr("cci-enabled")));
  }
}

}  // namespace
}  // namespace test
