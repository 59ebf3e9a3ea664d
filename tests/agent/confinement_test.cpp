// Which constraints keep the entries of a list from being validated one by one.
#include <fstream>

#include "fixture.h"

namespace agentd::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> WayOf(const Model& model) {
  std::vector<std::string> names;
  for (const lysc_node* node : model.WayToParts()) {
    names.emplace_back(node->name);
  }
  return names;
}

// A list with the key `id` and the leaf `size` in /top, and more in three places.
struct Case {
  const char* name;
  std::string in_entry;
  std::string in_list = {};
  std::string outside = {};
};

const std::vector<Case>& Confined() {
  static const std::vector<Case> cases = {
      {"NoConstraint", ""},
      {"ALookAtTheEntry", R"y(leaf a { type string; must "../size > 1"; })y"},
      {"ALookAtItsKey", R"y(list in { key "k"; must "../id != k"; leaf k { type string; } })y"},
      {"ALookAtItself", R"y(leaf a { type string; must ". != 'x'"; })y"},
      {"AReferenceWithin", R"y(leaf a { type leafref { path "../size"; } })y"},
      {"AConditionWithin", R"y(leaf a { when "../size = 1"; type string; })y"},
      {"AMandatoryLeafWithin", R"y(leaf a { type string; mandatory true; })y"},
      {"AnInnerListWithLimits",
       R"y(list in { key "k"; unique "u"; max-elements 3; leaf k { type string; }
          leaf u { type string; } })y"},
      {"AConstraintOnTheEntry", "", R"y(must "size > 1";)y"},
      {"ADefaultOutside", "", "", R"y(leaf a { type string; default "x"; })y"},
      {"AConditionOnStatusOutside", "", "",
       R"y(leaf a { config false; when "../entry/size = 1"; type string; })y"},
  };
  return cases;
}

const std::vector<Case>& Unconfined() {
  static const std::vector<Case> cases = {
      {"ALookAtOtherEntries", R"y(leaf a { type string; must "count(../../entry) < 3"; })y"},
      {"ALookFromTheTop", R"y(leaf a { type string; must "/m:top/m:entry/m:size > 1"; })y"},
      {"ALookAtTheEntryBefore", "", R"y(must "not(preceding-sibling::entry/size > size)";)y"},
      {"ALookAtTheEntryAfter", "", R"y(must "not(following-sibling::entry/size < size)";)y"},
      {"ALookAtAnother", R"y(leaf a { type string; must "../../b = 1"; })y", "",
       "leaf b { type int32; }"},
      {"AReferenceToOthers", R"y(leaf a { type leafref { path "../../entry/id"; } })y"},
      {"AReferenceInAUnion",
       R"y(leaf a { type union { type int32; type leafref { path "../../entry/id"; } } })y"},
      {"AnInstanceIdentifier", "leaf a { type instance-identifier; }"},
      {"AConditionOnOthers", R"y(leaf a { when "../../b = 1"; type string; })y", "",
       "leaf b { type int32; }"},
      {"AnElementThatLooksOut",
       R"y(leaf-list a { type string; must "not(../../entry[id = current()])";
    })y"},
      {"AnOrderOfTheUsers", "", "ordered-by user;"},
      {"UniqueLeaves", "", R"y(unique "size";)y"},
      {"ALeastNumber", "", "min-elements 1;"},
      {"ALimit", "", "max-elements 9;"},
      {"AConstraintOutside", "", "", R"y(leaf a { type string; must "count(../entry) < 3"; })y"},
      {"AConditionOutside", "", "", R"y(leaf a { when "../entry"; type string; })y"},
      {"AMandatoryLeafOutside", "", "", "leaf a { type string; mandatory true; }"},
  };
  return cases;
}

class Confinement : public ::testing::Test {
 protected:
  std::vector<std::string> WayWith(const Case& each) { return WayInModule(Container(each)); }

  std::vector<std::string> WayInModule(const std::string& body) {
    std::ofstream(directory_ / "m.yang")
        << R"y(module m { yang-version 1.1; namespace "urn:m"; prefix m; )y" << body << " }";
    return WayOf(Model(directory_.Path()));
  }

  static std::string Container(const Case& each) {
    return R"y(container top { list entry { key "id"; )y" + each.in_list +
           " leaf id { type string; } leaf size { type int32; } " + each.in_entry + " } " +
           each.outside + " }";
  }

 private:
  TempDirectory directory_;
};

class ConfinedTo : public Confinement, public ::testing::WithParamInterface<std::size_t> {};
class ReachingOut : public Confinement, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(ConfinedTo, ItsEntry) {
  EXPECT_THAT(WayWith(Confined()[GetParam()]), ElementsAre("top", "entry"));
}
TEST_P(ReachingOut, OfItsEntry) {
  EXPECT_THAT(WayWith(Unconfined()[GetParam()]), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Rule, ConfinedTo, ::testing::Range<std::size_t>(0, Confined().size()),
                         [](const auto& i) { return std::string(Confined()[i.param].name); });
INSTANTIATE_TEST_SUITE_P(Rule, ReachingOut, ::testing::Range<std::size_t>(0, Unconfined().size()),
                         [](const auto& i) { return std::string(Unconfined()[i.param].name); });

TEST_F(Confinement, OfTheElementsModelIsTheMaintenanceDomain) {
  EXPECT_THAT(WayOf(TheModel()), ElementsAre("config", "oam", "cfm", "md"));
}

TEST_F(Confinement, IsNotLookedForBelowAPresenceContainer) {
  EXPECT_THAT(WayInModule(R"y(container top { presence "it is"; list entry { key "id";
                             leaf id { type string; } } })y"),
              IsEmpty());
}

TEST_F(Confinement, OfAModelWithoutListsIsNone) {
  EXPECT_THAT(WayInModule("container top { leaf a { type string; } }"), IsEmpty());
}

}  // namespace
}  // namespace agentd::test
