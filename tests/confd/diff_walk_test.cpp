#include "confd_client/diff_walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "confd/data_tree.h"
#include "confd_client/error.h"
#include "confd_client/names.h"
#include "confd_client/path_parser.h"
#include "confd_client/value_text.h"
#include "frame.h"

namespace {

using test::Changed;
using test::ChangedElement;
using test::ChangedEntry;
using test::ChangedLeaf;
using testing::ElementsAre;
using testing::IsEmpty;

enum Tag : std::uint32_t {
  kConfig = 0x8001,
  kMd,
  kMa,
  kMep,
  kLevel,
  kVlanList,
  kContinuityCheck,
  kOtherMd,
};

const confd::Names& TestNames() {
  static const confd::Names names = [] {
    confd::Names learnt;
    const std::pair<std::uint32_t, const char*> pairs[] = {{kConfig, "config"},
                                                           {kMd, "md"},
                                                           {kMa, "ma"},
                                                           {kMep, "mep"},
                                                           {kLevel, "level"},
                                                           {kVlanList, "vlan-list"},
                                                           {kContinuityCheck, "continuity-check"},
                                                           {kOtherMd, "md"}};
    for (const auto& [tag, name] : pairs) {
      learnt.Learn(tag, name);
    }
    return learnt;
  }();
  return names;
}

class NoArguments : public confd::Arguments {
 public:
  int NextInt() override { return 0; }
  unsigned int NextUnsigned() override { return 0; }
  const char* NextString() override { return ""; }
  const confd_value_t* NextValue() override { return nullptr; }
};

constexpr std::uint32_t kNameSpace = 0x76d9c9b9;

std::string Text(const confd_hkeypath_t& path) {
  std::string text;
  for (int i = path.len - 1; i >= 0; --i) {
    const confd_value_t* row = path.v[i];
    if (row[0].type == C_XMLTAG) {
      EXPECT_EQ(CONFD_GET_XMLTAG_NS(&row[0]), kNameSpace);
    }
    text += row[0].type == C_XMLTAG ? "/" : "{";
    for (int j = 0; j < MAXKEYLEN && row[j].type != C_NOEXISTS; ++j) {
      text += (j == 0 ? "" : " ") + confd::ValueText(row[j], TestNames());
    }
    text += row[0].type == C_XMLTAG ? "" : "}";
  }
  return text;
}

// Walks and notes each call as "<op> <path> <old>><new>".
class Walk {
 public:
  // What the callback returns for a path; ITER_RECURSE for all others.
  std::map<std::string, confd_iter_ret> results;
  std::vector<std::string> calls;

  void Run(const cfm::agent::Change& root, const char* point, int flags = 0) {
    NoArguments none;
    const confd::Path path = confd::ParsePath(point, none);
    confd::DiffWalk(TestNames(), path, kNameSpace, flags, &Walk::Called, this).Run(root);
  }

 private:
  static std::string ValueText(const confd_value_t* value) {
    return value == nullptr ? "" : confd::ValueText(*value, TestNames());
  }

  static confd_iter_ret Called(confd_hkeypath_t* path, confd_iter_op op, confd_value_t* old_value,
                               confd_value_t* new_value, void* state) {
    Walk& self = *static_cast<Walk*>(state);
    static const std::map<int, std::string> kOperations = {
        {MOP_CREATED, "+"}, {MOP_DELETED, "-"}, {MOP_MODIFIED, "*"}, {MOP_VALUE_SET, "="}};
    const std::string text = Text(*path);
    std::string call = kOperations.at(op) + text;
    if (old_value != nullptr || new_value != nullptr) {
      call += " " + ValueText(old_value) + ">" + ValueText(new_value);
    }
    self.calls.push_back(call);
    const auto result = self.results.find(text);
    return result == self.results.end() ? ITER_RECURSE : result->second;
  }
};

cfm::agent::Change Root(const test::Changes& children) {
  return Changed(0, 0, {Changed(kConfig, 0, children)});
}

// Two MDs; the first with two MAs, of which the first has a MEP.
cfm::agent::Change SomeCommit() {
  const auto level = test::Int32(4);
  const auto old_level = test::Int32(3);
  return Root({ChangedEntry(kMd, {test::Text("east")}, MOP_MODIFIED,
                            {ChangedLeaf(kLevel, MOP_VALUE_SET, &old_level, &level),
                             ChangedEntry(kMa, {test::Text("blue")}, MOP_CREATED,
                                          {ChangedElement(kVlanList, test::Int32(10), MOP_CREATED),
                                           ChangedElement(kVlanList, test::Int32(20), MOP_CREATED),
                                           ChangedEntry(kMep, {test::Int32(5)}, MOP_CREATED,
                                                        {Changed(kContinuityCheck, MOP_CREATED)})}),
                             ChangedEntry(kMa, {test::Text("red")}, MOP_DELETED)}),
               ChangedEntry(kMd, {test::Text("west")}, MOP_MODIFIED,
                            {ChangedEntry(kMa, {test::Text("green")}, MOP_CREATED)})});
}

TEST(DiffWalk, ReportsParentsBeforeChildrenFromTheEntriesOfThePointOn) {
  Walk walk;
  walk.Run(SomeCommit(), "/config/md/");
  EXPECT_THAT(
      walk.calls,
      ElementsAre("*/config/md{east}", "=/config/md{east}/level >4", "+/config/md{east}/ma{blue}",
                  "+/config/md{east}/ma{blue}/vlan-list{10}",
                  "+/config/md{east}/ma{blue}/vlan-list{20}", "+/config/md{east}/ma{blue}/mep{5}",
                  "+/config/md{east}/ma{blue}/mep{5}/continuity-check", "-/config/md{east}/ma{red}",
                  "*/config/md{west}", "+/config/md{west}/ma{green}"));
}

TEST(DiffWalk, ReportsOnlyWhatIsAtOrBelowThePoint) {
  Walk walk;
  walk.Run(SomeCommit(), "/config/md/ma/mep");
  EXPECT_THAT(walk.calls, ElementsAre("+/config/md{east}/ma{blue}/mep{5}",
                                      "+/config/md{east}/ma{blue}/mep{5}/continuity-check"));
}

TEST(DiffWalk, APointWithAKeyIsThatEntryOnly) {
  Walk walk;
  walk.Run(SomeCommit(), "/config/md{west}/ma");
  EXPECT_THAT(walk.calls, ElementsAre("+/config/md{west}/ma{green}"));
}

TEST(DiffWalk, ANameOfSeveralTagsStandsForEachOfThem) {
  Walk walk;
  walk.Run(Root({ChangedEntry(kOtherMd, {test::Text("east")}, MOP_CREATED)}), "/config/md");
  EXPECT_THAT(walk.calls, ElementsAre("+/config/md{east}"));
}

TEST(DiffWalk, APointBelowSomethingDeletedIsNotCalled) {
  Walk walk;
  walk.Run(Root({ChangedEntry(kMd, {test::Text("east")}, MOP_DELETED,
                              {ChangedEntry(kMa, {test::Text("blue")}, MOP_DELETED)})}),
           "/config/md/ma");
  EXPECT_THAT(walk.calls, IsEmpty());
}

TEST(DiffWalk, NothingIsReportedBelowADeletedNode) {
  Walk walk;
  walk.Run(Root({ChangedEntry(kMd, {test::Text("east")}, MOP_DELETED,
                              {ChangedEntry(kMa, {test::Text("blue")}, MOP_DELETED)})}),
           "/config/md");
  EXPECT_THAT(walk.calls, ElementsAre("-/config/md{east}"));
}

TEST(DiffWalk, ANodeThatIsOnlyOnTheWayIsWalkedThroughSilently) {
  const auto value = test::Int32(1);
  Walk walk;
  walk.Run(Root({ChangedEntry(kMd, {test::Text("east")}, MOP_MODIFIED,
                              {Changed(kContinuityCheck, 0,
                                       {ChangedLeaf(kLevel, MOP_VALUE_SET, nullptr, &value)})})}),
           "/config/md");
  EXPECT_THAT(walk.calls,
              ElementsAre("*/config/md{east}", "=/config/md{east}/continuity-check/level >1"));
}

TEST(DiffWalk, OldValuesComeOnlyWhenAskedFor) {
  Walk walk;
  walk.Run(SomeCommit(), "/config/md", ITER_WANT_PREV);
  EXPECT_THAT(walk.calls, testing::Contains("=/config/md{east}/level 3>4"));
}

TEST(DiffWalk, ContinueSkipsTheChildren) {
  Walk walk;
  walk.results["/config/md{east}/ma{blue}"] = ITER_CONTINUE;
  walk.Run(SomeCommit(), "/config/md/ma");
  EXPECT_THAT(walk.calls, ElementsAre("+/config/md{east}/ma{blue}", "-/config/md{east}/ma{red}",
                                      "+/config/md{west}/ma{green}"));
}

TEST(DiffWalk, UpSkipsTheChildrenAndTheSiblings) {
  Walk walk;
  walk.results["/config/md{east}/ma{blue}/vlan-list{10}"] = ITER_UP;
  walk.Run(SomeCommit(), "/config/md/ma");
  EXPECT_THAT(walk.calls,
              ElementsAre("+/config/md{east}/ma{blue}", "+/config/md{east}/ma{blue}/vlan-list{10}",
                          "-/config/md{east}/ma{red}", "+/config/md{west}/ma{green}"));
}

TEST(DiffWalk, UpAtThePointGoesOnInTheNextParent) {
  Walk walk;
  walk.results["/config/md{east}/ma{blue}"] = ITER_UP;
  walk.Run(SomeCommit(), "/config/md/ma");
  EXPECT_THAT(walk.calls, ElementsAre("+/config/md{east}/ma{blue}", "+/config/md{west}/ma{green}"));
}

TEST(DiffWalk, StopEndsTheWalk) {
  Walk walk;
  walk.results["/config/md{east}/ma{blue}/vlan-list{10}"] = ITER_STOP;
  walk.Run(SomeCommit(), "/config/md");
  EXPECT_EQ(walk.calls.back(), "+/config/md{east}/ma{blue}/vlan-list{10}");
}

TEST(DiffWalk, AResultThatIsNoneStopsWithAnError) {
  Walk walk;
  walk.results["/config/md{east}"] = static_cast<confd_iter_ret>(7);
  EXPECT_THROW(walk.Run(SomeCommit(), "/config/md"), confd::ApiError);
  EXPECT_THAT(walk.calls, ElementsAre("*/config/md{east}"));
}

TEST(DiffWalk, ChangesThatMakeNoSenseAreGarbage) {
  Walk walk;
  EXPECT_THROW(walk.Run(Root({Changed(kMd, 9)}), "/config/md"), ipc::ProtocolError);
  EXPECT_THROW(
      walk.Run(Root({ChangedEntry(kMd, {test::Number(C_INT8, 500)}, MOP_CREATED)}), "/config/md"),
      ipc::ProtocolError);
  EXPECT_THROW(walk.Run(Root({ChangedEntry(kMd, std::vector(10, test::Int32(1)), MOP_CREATED)}),
                        "/config/md"),
               ipc::ProtocolError);
  EXPECT_THAT(walk.calls, IsEmpty());
}

// A chain of entries: config, then `entries` times a list and its key.
cfm::agent::Change Chain(int entries) {
  cfm::agent::Change change = ChangedEntry(kMd, {test::Int32(entries)}, MOP_MODIFIED);
  for (int i = entries - 1; i > 0; --i) {
    change = ChangedEntry(kMd, {test::Int32(i)}, MOP_MODIFIED, {change});
  }
  return Root({change});
}

TEST(DiffWalk, KeypathsOfMoreThanThirtyElementsAreWhole) {
  Walk walk;
  walk.Run(Chain(16), "/config/md");
  ASSERT_EQ(walk.calls.size(), 16U);
  EXPECT_THAT(walk.calls.back(), testing::StartsWith("*/config/md{1}/md{2}"));
  EXPECT_THAT(walk.calls.back(), testing::EndsWith("/md{15}/md{16}"));
}

TEST(DiffWalk, AKeypathThatIsTooDeepIsGarbage) {
  Walk walk;
  EXPECT_THROW(walk.Run(Chain(20), "/config/md"), ipc::ProtocolError);
  EXPECT_EQ(walk.calls.size(), 19U);
}

}  // namespace
