#include "core/edits.h"

#include <gmock/gmock.h>

#include "core/path.h"

namespace cfmctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kMa = "/config/oam/cfm/md[id='e']/ma[id='b']";

TEST(Edits, SetTakesAValueForALeafAndNoneForAnEntryAPresenceContainerOrAnEmptyLeaf) {
  EXPECT_THAT(
      ParseEdits({"md{e}/level", "3", "md{e}/ma{b}/mep{5}", "md{e}/ma{b}/mep{5}/continuity-check",
                  "md{e}/ma{b}/mep{5}/continuity-check/cci-enabled", "md{e}/level", "4"},
                 EditKind::kMerge),
      ElementsAre(
          Edit{EditKind::kMerge, "/config/oam/cfm/md[id='e']/level", "3"},
          Edit{EditKind::kMerge, std::string(kMa) + "/mep[id='5']", {}},
          Edit{EditKind::kMerge, std::string(kMa) + "/mep[id='5']/continuity-check", {}},
          Edit{
              EditKind::kMerge, std::string(kMa) + "/mep[id='5']/continuity-check/cci-enabled", {}},
          Edit{EditKind::kMerge, "/config/oam/cfm/md[id='e']/level", "4"}));
}

TEST(Edits, ValuesOfALeafListAreJoinedByCommas) {
  const std::string list = std::string(kMa) + "/vlan-list";
  EXPECT_THAT(ParseEdits({"md{e}/ma{b}/vlan-list", "10,20"}, EditKind::kMerge),
              ElementsAre(Edit{EditKind::kMerge, list, "10"}, Edit{EditKind::kMerge, list, "20"}));
}

TEST(Edits, ALeafKeepsTheCommasOfItsValue) {
  EXPECT_THAT(
      ParseEdits({"md{e}/ma{b}/mep{5}/interface", "a,b"}, EditKind::kMerge),
      ElementsAre(Edit{EditKind::kMerge, std::string(kMa) + "/mep[id='5']/interface", "a,b"}));
}

TEST(Edits, AnElementOfALeafListIsItsListAndItsValue) {
  EXPECT_THAT(ParseEdits({"md{e}/ma{b}/vlan-list{10}"}, EditKind::kDelete),
              ElementsAre(Edit{EditKind::kDelete, std::string(kMa) + "/vlan-list", "10"}));
}

TEST(Edits, AnOperationHoldsUntilTheNextOneAndMayHaveDashes) {
  EXPECT_THAT(ParseEdits({"delete", "md{a}", "md{b}/level", "--create", "md{c}", "set",
                          "md{c}/level", "1", "remove", "md{d}", "replace", "md{e}"}),
              ElementsAre(Edit{EditKind::kDelete, "/config/oam/cfm/md[id='a']", {}},
                          Edit{EditKind::kDelete, "/config/oam/cfm/md[id='b']/level", {}},
                          Edit{EditKind::kCreate, "/config/oam/cfm/md[id='c']", {}},
                          Edit{EditKind::kMerge, "/config/oam/cfm/md[id='c']/level", "1"},
                          Edit{EditKind::kRemove, "/config/oam/cfm/md[id='d']", {}},
                          Edit{EditKind::kReplace, "/config/oam/cfm/md[id='e']", {}}));
}

TEST(Edits, AValueMayLookLikeAnOperation) {
  EXPECT_THAT(
      ParseEdits({"md{e}/ma{b}/mep{5}/interface", "delete"}, EditKind::kMerge),
      ElementsAre(Edit{EditKind::kMerge, std::string(kMa) + "/mep[id='5']/interface", "delete"}));
}

std::string Complaint(const std::vector<std::string>& words, std::optional<EditKind> first = {}) {
  try {
    ParseEdits(words, first);
  } catch (const std::exception& error) {
    return error.what();
  }
  return "none";
}

TEST(Edits, MistakesAreNamed) {
  EXPECT_THAT(Complaint({"md{e}"}), HasSubstr("\"md{e}\" is no operation"));
  EXPECT_THAT(Complaint({"md{e}/level"}, EditKind::kMerge),
              HasSubstr("the value of level is missing"));
  EXPECT_THAT(Complaint({"md"}, EditKind::kDelete), HasSubstr("md needs its key: md{...}"));
  EXPECT_THAT(Complaint({"merge", "md{e}/level", "3", "4"}), HasSubstr("no node \"4\""));
}

}  // namespace
}  // namespace cfmctl
