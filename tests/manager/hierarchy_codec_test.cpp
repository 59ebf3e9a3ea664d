#include "hierarchy_codec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <random>
#include <string>

#include "frame.h"
#include "manager.pb.h"
#include "node_name.h"
#include "random_hierarchy.h"

namespace {

using cfm::DecodeHierarchy;
using cfm::EncodeHierarchy;
using cfm::Hierarchy;
using testing::HasSubstr;

// Through the bytes of the message.
Hierarchy RoundTrip(const Hierarchy& hierarchy) {
  cfm::manager::Configuration sent;
  EncodeHierarchy(hierarchy, sent);
  cfm::manager::Configuration received;
  EXPECT_TRUE(received.ParseFromString(sent.SerializeAsString()));
  return DecodeHierarchy(received);
}

TEST(HierarchyCodec, EveryHierarchyComesBackAsItWas) {
  for (std::uint32_t seed = 0; seed < 300; ++seed) {
    std::mt19937 random(seed);
    const Hierarchy hierarchy = test::RandomHierarchy(random);
    ASSERT_TRUE(RoundTrip(hierarchy) == hierarchy) << "seed " << seed;
  }
}

TEST(HierarchyCodec, NodesThatWereNeverFilledInComeBackAsTheyWere) {
  Hierarchy hierarchy;
  hierarchy["md"].mas["ma"].meps[0];
  EXPECT_TRUE(RoundTrip(hierarchy) == hierarchy);
}

TEST(HierarchyCodec, TheOrderOfVlansIsKept) {
  Hierarchy hierarchy;
  hierarchy["md"].mas["ma"].association.vlan_list = {30, 10, 20, 30};
  EXPECT_EQ(RoundTrip(hierarchy)["md"].mas["ma"].association.vlan_list,
            (std::vector<std::uint16_t>{30, 10, 20, 30}));
}

TEST(HierarchyCodec, EncodingReplacesTheNodesAndKeepsTheNumber) {
  cfm::manager::Configuration message;
  message.set_number(7);
  EncodeHierarchy(test::RegularHierarchy("east", 2, 2), message);
  EncodeHierarchy(test::RegularHierarchy("west", 1, 1), message);
  EXPECT_EQ(message.number(), 7U);
  ASSERT_EQ(message.mds_size(), 1);
  EXPECT_EQ(cfm::DecodeMd(message.mds(0)).first, "west");
}

void AddMd(const std::string& name, cfm::manager::Configuration& message) {
  cfm::manager::Md md;
  md.set_name(name);
  md.SerializeToString(message.add_mds());
}

TEST(HierarchyCodec, NodesAreAcceptedInAnyOrder) {
  cfm::manager::Configuration message;
  AddMd("b", message);
  AddMd("a", message);
  EXPECT_EQ(DecodeHierarchy(message).size(), 2U);
}

// An MD that is well but for what `spoil` does to it, and what the error then
// has to say.
struct Rejection {
  const char* name;
  std::function<void(cfm::manager::Md&)> spoil;
  const char* message;
};

cfm::manager::Ma& FirstMa(cfm::manager::Md& md) {
  return *md.mutable_mas(0);
}

cfm::manager::Mep& FirstMep(cfm::manager::Md& md) {
  return *FirstMa(md).mutable_meps(0);
}

const Rejection kRejections[] = {
    {"MaTwice", [](auto& m) { m.add_mas()->set_name("ma0"); }, "MA ma0 of MD east is there twice"},
    {"MepTwice", [](auto& m) { FirstMa(m).add_meps()->set_mep_id(1); },
     "MEP 1 of MA ma0 of MD east is there twice"},
    {"MepIdInTheSetTwice", [](auto& m) { FirstMa(m).add_mep_ids(1); },
     "MA ma0 of MD east: MEP id 1 is in the set twice"},
    {"MepIdTooLarge", [](auto& m) { FirstMep(m).set_mep_id(65536); },
     "MEP id 65536 is more than 65535"},
    {"MepIdInTheSetTooLarge", [](auto& m) { FirstMa(m).add_mep_ids(65537); },
     "MEP id 65537 is more than 65535"},
    {"VlanTooLarge", [](auto& m) { FirstMa(m).add_vlan_list(70000); },
     "MA ma0 of MD east: VLAN id 70000 is more than 65535"},
    {"PrimaryVlanTooLarge", [](auto& m) { FirstMep(m).set_primary_vlan_id(65536); },
     "MEP 1 of MA ma0 of MD east: primary VLAN id 65536 is more than 65535"},
    {"AlarmTimeTooLarge", [](auto& m) { FirstMep(m).set_fault_alarm_time(65536); },
     "fault alarm time 65536"},
    {"ResetTimeTooLarge", [](auto& m) { FirstMep(m).set_fault_reset_time(4294967295U); },
     "fault reset time 4294967295"},
    {"FirstByteTooLarge", [](auto& m) { FirstMep(m).set_fixed_byte_1(256); },
     "first fixed byte 256 is more than 255"},
    {"SecondByteTooLarge", [](auto& m) { FirstMep(m).set_fixed_byte_2(256); },
     "second fixed byte 256 is more than 255"},
    {"NoSuchDirection", [](auto& m) { FirstMep(m).set_direction(3); }, "direction has no value 3"},
    {"NegativeDirection", [](auto& m) { FirstMep(m).set_direction(-1); },
     "direction has no value -1"},
    {"NoSuchDefect", [](auto& m) { FirstMep(m).set_lowest_fault_priority_defect(6); },
     "lowest fault priority defect has no value 6"},
    // 256 + 2 would be a value of the enumeration if it were cut to a byte.
    {"DefectThatDoesNotFitAByte",
     [](auto& m) { FirstMep(m).set_lowest_fault_priority_defect(258); },
     "lowest fault priority defect has no value 258"},
    {"NoSuchFaultAction", [](auto& m) { FirstMep(m).set_fault_action(2); },
     "fault action has no value 2"},
    {"NoSuchInterval", [](auto& m) { FirstMa(m).set_ccm_interval(3); },
     "MA ma0 of MD east: CCM interval has no value 3"},
    {"IntervalAboveTheLast", [](auto& m) { FirstMa(m).set_ccm_interval(8); },
     "CCM interval has no value 8"},
};

void PrintTo(const Rejection& rejection, std::ostream* out) {
  *out << rejection.name;
}

class HierarchyCodecRejects : public testing::TestWithParam<Rejection> {};

TEST_P(HierarchyCodecRejects, WithTheNodeAndTheValueInTheMessage) {
  cfm::manager::Configuration message;
  EncodeHierarchy(test::RegularHierarchy("east", 1, 2), message);
  cfm::manager::Md md;
  ASSERT_TRUE(md.ParseFromString(message.mds(0)));
  GetParam().spoil(md);
  md.SerializeToString(message.mutable_mds(0));
  try {
    DecodeHierarchy(message);
    FAIL() << "accepted";
  } catch (const ipc::ProtocolError& error) {
    EXPECT_THAT(error.what(), HasSubstr(GetParam().message));
  }
}

TEST(HierarchyCodec, RejectsAnMdThatIsThereTwice) {
  cfm::manager::Configuration message;
  AddMd("east", message);
  AddMd("east", message);
  EXPECT_THAT([&] { DecodeHierarchy(message); },
              testing::ThrowsMessage<ipc::ProtocolError>(HasSubstr("MD east is there twice")));
}

TEST(HierarchyCodec, RejectsBytesThatAreNoMd) {
  cfm::manager::Configuration message;
  message.add_mds("\xff\xff\xff");
  EXPECT_THROW(DecodeHierarchy(message), ipc::ProtocolError);
}

INSTANTIATE_TEST_SUITE_P(All, HierarchyCodecRejects, testing::ValuesIn(kRejections),
                         [](const auto& test) { return test.param.name; });

TEST(NodeName, ShowsBytesThatAreNotPrintable) {
  EXPECT_EQ(cfm::MepText("e\nst", "bl\xfc", 5), "MEP 5 of MA bl\\xfc of MD e\\x0ast");
}

TEST(NodeName, CutsLongNames) {
  EXPECT_EQ(cfm::MdText(std::string(64, 'a')), "MD " + std::string(64, 'a'));
  EXPECT_EQ(cfm::MdText(std::string(65, 'a')), "MD " + std::string(64, 'a') + "...");
}

}  // namespace
