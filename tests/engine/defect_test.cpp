// The five defects: what raises each and what clears it.
#include <gtest/gtest.h>

#include <string>

#include "world.h"

namespace cfm::engine {
namespace {

// One element whose MEP 1 watches 2 and 3; its peers are played by the test.
struct DefectTest : testing::Test {
  DefectTest() {
    mep.remotes = {2, 3};
    world.Apply(element, Configure(mep));
    Peers();
  }

  // Every peer sends a good CCM, with `change` made to that of MEP 2.
  void Peers(const std::function<void(Ccm&)>& change = [](Ccm&) {}) {
    Ccm ccm = PeerCcm(mep);
    ccm.mep_id = 3;
    world.Inject(element, ccm);
    ccm.mep_id = 2;
    change(ccm);
    world.Inject(element, ccm);
  }
  // Time passes with all peers well.
  void RunHealthy(Nanoseconds time) {
    for (; time >= 500ms; time -= 500ms) {
      world.Run(500ms);
      Peers();
    }
    world.Run(time);
  }

  World world;
  Element& element = world.AddElement();
  OneMep mep;
};

TEST_F(DefectTest, NoneIsThereAtFirst) {
  EXPECT_EQ(element.Defects(), "");
}

TEST_F(DefectTest, SomeRdiFollowsTheRdiBit) {
  Peers([](Ccm& ccm) { ccm.rdi = true; });
  EXPECT_EQ(element.Defects(), "A");
  EXPECT_TRUE(element.Remote(mep, 2).rx_rdi);
  EXPECT_FALSE(element.Local(mep).tx_rdi) << "an RDI is not answered with one";
  Peers();
  EXPECT_EQ(element.Defects(), "");
  EXPECT_FALSE(element.Remote(mep, 2).rx_rdi);
}

TEST_F(DefectTest, SomeMacStatusFollowsOneInterfaceThatIsNotUp) {
  for (int status = 2; status <= 7; ++status) {
    Peers([status](Ccm& ccm) { ccm.interface_status = static_cast<InterfaceStatus>(status); });
    EXPECT_EQ(element.Defects(), "S") << status;
    EXPECT_EQ(static_cast<int>(element.Remote(mep, 2).rx_interface_status), status);
    EXPECT_TRUE(element.Local(mep).tx_rdi);
    Peers();
    EXPECT_EQ(element.Defects(), "");
  }
}

TEST_F(DefectTest, SomeMacStatusNeedsAllPortsBlocked) {
  const auto block = [](Ccm& ccm) { ccm.port_status = PortStatus::kBlocked; };
  Peers(block);
  EXPECT_EQ(element.Defects(), "");
  EXPECT_EQ(element.Remote(mep, 2).rx_port_status, PortStatus::kBlocked);
  Ccm other = PeerCcm(mep);
  other.mep_id = 3;
  block(other);
  world.Inject(element, other);
  EXPECT_EQ(element.Defects(), "S");
  Peers();
  EXPECT_EQ(element.Defects(), "");
}

TEST_F(DefectTest, MissingStatusTlvsAreNoDefect) {
  Peers([](Ccm& ccm) {
    ccm.port_status = PortStatus::kNoTlv;
    ccm.interface_status = InterfaceStatus::kNoTlv;
  });
  EXPECT_EQ(element.Defects(), "");
}

TEST_F(DefectTest, ALostRemoteMepCountsForNothingElse) {
  Peers([](Ccm& ccm) {
    ccm.rdi = true;
    ccm.interface_status = InterfaceStatus::kIsDown;
  });
  EXPECT_EQ(element.Defects(), "AS");
  Ccm other = PeerCcm(mep);
  other.mep_id = 3;
  for (int second = 0; second < 4; ++second) {
    world.Run(1s);
    world.Inject(element, other);
  }
  EXPECT_EQ(element.Defects(), "R");
  EXPECT_TRUE(element.Remote(mep, 2).rx_rdi) << "what it last said";
  Peers();
  EXPECT_EQ(element.Defects(), "");
}

// A bad CCM, the defect that it raises, and what it must not do.
struct Bad {
  std::string name;
  std::string defect;
  std::function<void(Ccm&)> spoil;
};

class BadCcm : public DefectTest, public testing::WithParamInterface<Bad> {};

TEST_P(BadCcm, RaisesItsDefectFor35OfItsIntervals) {
  for (const std::uint8_t interval : {4, 5}) {
    if (GetParam().name == "OtherInterval" && interval == 4) {
      continue;
    }
    Ccm ccm = PeerCcm(mep);
    ccm.rdi = true;
    GetParam().spoil(ccm);
    ccm.interval = interval;
    const auto before = element.engine.Statistics().at(0).remotes.at(0).statistics.rmep_counter;
    world.Inject(element, ccm);
    // With another interval even what is a cross connection stays one.
    EXPECT_EQ(element.Defects(), GetParam().defect);
    EXPECT_TRUE(element.Local(mep).tx_rdi);
    EXPECT_FALSE(element.Remote(mep, 2).rx_rdi) << "it must not pass for its namesake";
    EXPECT_EQ(element.engine.Statistics().at(0).remotes.at(0).statistics.rmep_counter, before);
    RunHealthy(IntervalTime(interval) * 7 / 2 - 1ms);
    EXPECT_EQ(element.Defects(), GetParam().defect);
    RunHealthy(1ms);
    EXPECT_EQ(element.Defects(), "");
    EXPECT_FALSE(element.Local(mep).tx_rdi);
    Peers();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Every, BadCcm,
    testing::Values(Bad{"OtherMa", "X", [](Ccm& ccm) { ccm.maid = *MakeMaid("east", "red"); }},
                    Bad{"OtherMd", "X", [](Ccm& ccm) { ccm.maid = *MakeMaid("west", "blue"); }},
                    Bad{"LowerLevel", "X", [](Ccm& ccm) { ccm.level = 2; }},
                    Bad{"LowestLevel", "X", [](Ccm& ccm) { ccm.level = 0; }},
                    Bad{"OwnMepId", "I", [](Ccm& ccm) { ccm.mep_id = 1; }},
                    Bad{"UnknownMepId", "I", [](Ccm& ccm) { ccm.mep_id = 4; }},
                    Bad{"OtherInterval", "I", [](Ccm&) {}}),
    [](const auto& one) { return one.param.name; });

TEST_F(DefectTest, AHigherLevelIsSomebodyElses) {
  Ccm ccm = PeerCcm(mep);
  ccm.level = 4;
  ccm.maid = *MakeMaid("west", "red");
  world.Inject(element, ccm);
  EXPECT_EQ(element.Defects(), "");
  EXPECT_EQ(element.Counters().counter2, 2U);
}

TEST_F(DefectTest, AnotherVlanIsSomebodyElses) {
  Ccm ccm = PeerCcm(mep);
  ccm.maid = *MakeMaid("west", "red");
  world.Inject(element, ccm, 11);
  EXPECT_EQ(element.Defects(), "");
}

TEST_F(DefectTest, AFasterOffenderDoesNotHideASlowerOne) {
  Ccm slow = PeerCcm(mep);
  slow.mep_id = 77;
  slow.interval = 5;
  world.Inject(element, slow);
  Ccm fast = slow;
  fast.interval = 4;
  world.Inject(element, fast);
  RunHealthy(34999ms);
  EXPECT_EQ(element.Defects(), "I");
  RunHealthy(1ms);
  EXPECT_EQ(element.Defects(), "");
}

TEST_F(DefectTest, AllFiveTogether) {
  Peers([](Ccm& ccm) {
    ccm.rdi = true;
    ccm.interface_status = InterfaceStatus::kIsDown;
  });
  Ccm bad = PeerCcm(mep);
  bad.interval = 6;
  world.Inject(element, bad);
  bad.maid = *MakeMaid("west", "red");
  world.Inject(element, bad);
  Ccm two = PeerCcm(mep);
  two.rdi = true;
  two.interface_status = InterfaceStatus::kIsDown;
  for (int second = 0; second < 4; ++second) {
    world.Run(1s);
    world.Inject(element, two);
  }
  EXPECT_EQ(element.Defects(), "ASRIX");
}

TEST_F(DefectTest, AVlanOfTheMaIsListenedToEvenWhenItIsNotThePrimary) {
  mep.vlans = {30, 10};
  world.Apply(element, Configure(mep));
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_START);
  Peers();
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_OK);
}

TEST(Rdi, TellsTheOtherSideOfAOneWayCut) {
  Pair pair;
  pair.world.Run(2s);
  for (int deaf = 0; deaf < 2; ++deaf) {
    Element& hearing = deaf == 0 ? pair.there : pair.here;
    Element& deaf_one = deaf == 0 ? pair.here : pair.there;
    pair.wire.cut[1 - deaf] = true;
    pair.world.Run(5s);
    EXPECT_EQ(deaf_one.Defects(), "R");
    EXPECT_TRUE(deaf_one.locals.begin()->second.tx_rdi);
    EXPECT_EQ(hearing.Defects(), "A");
    EXPECT_FALSE(hearing.locals.begin()->second.tx_rdi);
    EXPECT_TRUE(hearing.remotes.begin()->second.rx_rdi);
    pair.wire.cut[1 - deaf] = false;
    pair.world.Run(3s);
    EXPECT_EQ(deaf_one.Defects(), "");
    EXPECT_EQ(hearing.Defects(), "");
  }
}

TEST(Rdi, IsNotSentForDefectsBelowTheLowestThatMatters) {
  World world;
  Element& element = world.AddElement();
  OneMep mep;
  Hierarchy hierarchy = Configure(mep);
  MepOf(hierarchy, mep).lowest_fault_priority_defect = Defects::kErrXcon;
  world.Apply(element, hierarchy);
  world.Run(4s);
  EXPECT_EQ(element.Defects(), "R");
  EXPECT_FALSE(element.Local(mep).tx_rdi);
  Ccm ccm = PeerCcm(mep);
  ccm.mep_id = 9;
  world.Inject(element, ccm);
  EXPECT_EQ(element.Defects(), "RI");
  EXPECT_TRUE(element.Local(mep).tx_rdi);
}

TEST(DuplicateMepId, RaisesTheErrorDefectOnBothSides) {
  World world;
  Element& here = world.AddElement();
  Element& there = world.AddElement();
  world.Connect(here, World::kPort, there, World::kPort);
  const OneMep mep;
  world.Apply(here, Configure(mep));
  world.Apply(there, Configure(mep));
  world.Run(2s);
  EXPECT_EQ(here.Defects(), "I");
  EXPECT_EQ(there.Defects(), "I");
}

}  // namespace
}  // namespace cfm::engine
