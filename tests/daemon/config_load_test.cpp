// What the initial load reads and keeps.
#include "daemon/config_load_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

using ConfigLoadDeath = ConfigLoad;

TEST_F(ConfigLoad, WithoutDomainsItOnlySaysThatItLoads) {
  EXPECT_THAT(Load(), IsEmpty());
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kLoading));
  EXPECT_THAT(fake::CdbCalls(), ElementsAre("cdb_num_instances 7 /config/oam/cfm/md"));
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

// Two names, the interface, five elements of leaf-lists, and the arrays of
// these.
TEST_F(ConfigLoad, WhatTheCdbHandedOutIsFreed) {
  Fill();
  Load();
  EXPECT_EQ(fake::LiveValues(), 0);
  EXPECT_EQ(fake::FreedValues(), 3 + 5);
  EXPECT_EQ(fake::FreedLists(), 2);
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

TEST_F(ConfigLoad, ContinuityChecksAreOffWhenTheirLeafDoesNotExist) {
  FillMa();
  fake::AddEntry(kBlue + "/mep", 5);
  EXPECT_FALSE(Load().at("east").mas.at("blue").meps.at(5).cci_enabled);
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
