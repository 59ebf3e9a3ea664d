// Which callback gets which node of a commit, and when.
#include <agent_error.h>
#include <cdb_socket.h>
#include <gather.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <subscriptions.h>
#include <support/temporary_directory.h>

#include <algorithm>
#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "diff_trees.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace test {
namespace {

constexpr const char* kMd = "/config/oam/cfm/md/";
constexpr const char* kMa = "/config/oam/cfm/md/ma/";
constexpr const char* kMep = "/config/oam/cfm/md/ma/mep/";

const std::map<int, std::string> kSigns = {
    {MOP_CREATED, "+"}, {MOP_DELETED, "-"}, {MOP_MODIFIED, "~"}, {MOP_VALUE_SET, "="}};

// Notes "<last node of the point>: <sign> <path>"; answers as told.
class Handler : public velconfd::ConfigHandler {
 public:
  explicit Handler(const std::vector<std::string>& paths) : paths_(paths.begin(), paths.end()) {
    for (const std::string& path : paths_) {
      points_.push_back({0, 1, path.c_str(), 0,
                         [this, path](confd_hkeypath* keypath, confd_iter_op op, confd_value*,
                                      confd_value*) { return Changed(path, *keypath, op); }});
    }
  }

  void LoadInitialConfig(int) override {}
  int ApplyInitialConfig() override { return 0; }
  void StartCommit() override {}
  int ApplyCommitConfig() override { return 0; }
  const std::vector<velconfd::SubscriptionPoint>& GetSubscriptionPoints() const override {
    return points_;
  }

  Journal calls;
  std::map<std::string, confd_iter_ret> answers;  // by path; ITER_RECURSE otherwise

 private:
  confd_iter_ret Changed(const std::string& point, const confd_hkeypath& keypath,
                         confd_iter_op op) {
    const std::string path = Print(keypath);
    const auto name = point.rfind('/', point.size() - 2) + 1;
    calls.push_back(point.substr(name, point.size() - 1 - name) + ": " + kSigns.at(op) + " " +
                    path);
    for (int level = keypath.len; level < MAXDEPTH; ++level) {
      EXPECT_EQ(keypath.v[level][0].type, C_NOEXISTS) << "at " << path;
    }
    const auto answer = answers.find(path);
    return answer == answers.end() ? ITER_RECURSE : answer->second;
  }

  std::deque<std::string> paths_;
  std::vector<velconfd::SubscriptionPoint> points_;
};

class CommitOrder : public testing::Test {
 protected:
  CommitOrder() { agent_.Appear(); }

  Journal Deliver(const Node& root) {
    Deliver(handler_, root);
    return handler_.calls;
  }

  void Deliver(Handler& handler, const Node& root) {
    const velconfd::CdbSocket socket(address_, CDB_SUBSCRIPTION_SOCKET);
    const velconfd::Subscriptions subscriptions(socket.Get(), {&handler});
    agent_.Commit(root);
    std::vector<int> points;
    for (const velconfd::ConfigPoint& one : subscriptions.Handlers().front().points) {
      points.push_back(one.point.subscription_id);
    }
    for (velconfd::Commit& commit : velconfd::GatherCommits(socket.Get(), subscriptions, points)) {
      commit.Deliver();
    }
  }

  TemporaryDirectory directory_;
  Journal journal_;
  FakeAgent agent_{directory_.Path(), journal_};
  velconfd::AgentAddress address_{directory_.Path() / "agentd.sock", "test"};
  Handler handler_{{kMep, kMa, kMd}};
};

TEST_F(CommitOrder, ParentsComeBeforeTheirChildren) {
  EXPECT_THAT(Deliver(Cfm({Entry("md", "e", MOP_CREATED,
                                 {Entry("ma", "b", MOP_CREATED,
                                        {Entry("mep", 5, MOP_CREATED, {Leaf("direction", 1)}),
                                         Element("vlan-list", 10, MOP_CREATED)}),
                                  Leaf("level", 3)})})),
              ElementsAre("md: + /config/oam/cfm/md{e}", "md: = /config/oam/cfm/md{e}/level",
                          "ma: + /config/oam/cfm/md{e}/ma{b}",
                          "ma: + /config/oam/cfm/md{e}/ma{b}/vlan-list{10}",
                          "mep: + /config/oam/cfm/md{e}/ma{b}/mep{5}",
                          "mep: = /config/oam/cfm/md{e}/ma{b}/mep{5}/direction"));
}

TEST_F(CommitOrder, DeletedEntriesComeFirstAndTheDeepestOfThemFirst) {
  EXPECT_THAT(
      Deliver(Cfm({Entry("md", "a", MOP_CREATED), Entry("md", "b", MOP_DELETED),
                   Entry("md", "c", MOP_MODIFIED,
                         {Entry("ma", "x", MOP_DELETED),
                          Entry("ma", "y", MOP_MODIFIED, {Entry("mep", 1, MOP_DELETED)})})})),
      ElementsAre("mep: - /config/oam/cfm/md{c}/ma{y}/mep{1}", "ma: - /config/oam/cfm/md{c}/ma{x}",
                  "md: - /config/oam/cfm/md{b}", "md: + /config/oam/cfm/md{a}",
                  "md: ~ /config/oam/cfm/md{c}", "ma: ~ /config/oam/cfm/md{c}/ma{y}"));
}

TEST_F(CommitOrder, RemovedLeavesAndLeafListElementsAreNoDeletedEntries) {
  EXPECT_THAT(Deliver(Cfm({Entry("md", "e", MOP_MODIFIED,
                                 {Entry("ma", "b", MOP_MODIFIED,
                                        {Element("vlan-list", 10, MOP_DELETED),
                                         Entry("mep", 5, MOP_MODIFIED,
                                               {Container("primary-vlan-id", MOP_DELETED),
                                                Container("continuity-check", MOP_DELETED)})})})})),
              ElementsAre("md: ~ /config/oam/cfm/md{e}", "ma: ~ /config/oam/cfm/md{e}/ma{b}",
                          "ma: - /config/oam/cfm/md{e}/ma{b}/vlan-list{10}",
                          "mep: ~ /config/oam/cfm/md{e}/ma{b}/mep{5}",
                          "mep: - /config/oam/cfm/md{e}/ma{b}/mep{5}/primary-vlan-id",
                          "mep: - /config/oam/cfm/md{e}/ma{b}/mep{5}/continuity-check"));
}

// A program keeps the ids of both lists in one set. The order of the agent's
// diff must not matter.
std::set<std::string> IdsAfter(const Journal& calls, std::set<std::string> ids) {
  for (const std::string& call : calls) {
    const auto brace = call.rfind('{');
    const std::string id = call.substr(brace + 1, call.size() - brace - 2);
    const bool is_id =
        call.find("/mep{") != std::string::npos || call.find("/remote-meps{") != std::string::npos;
    if (is_id && call.find(": + ") != std::string::npos) {
      ids.insert(id);
    } else if (is_id && call.find(": - ") != std::string::npos) {
      ids.erase(id);
    }
  }
  return ids;
}

class Move : public CommitOrder, public testing::WithParamInterface<std::tuple<int, bool>> {};

TEST_P(Move, LeavesTheIdWhereItBelongs) {
  const auto [mep_op, mep_first] = GetParam();
  const int remote_op = mep_op == MOP_CREATED ? MOP_DELETED : MOP_CREATED;
  Nodes changes = {Entry("mep", 5, mep_op), Element("remote-meps", 5, remote_op)};
  if (!mep_first) {
    std::reverse(changes.begin(), changes.end());
  }
  const Journal calls = Deliver(
      Cfm({Entry("md", "e", MOP_MODIFIED, {Entry("ma", "b", MOP_MODIFIED, std::move(changes))})}));
  EXPECT_THAT(IdsAfter(calls, {"5"}), ElementsAre("5"));
}

INSTANTIATE_TEST_SUITE_P(BetweenMepAndRemoteMeps, Move,
                         testing::Combine(testing::Values<int>(MOP_CREATED, MOP_DELETED),
                                          testing::Bool()));

TEST_F(CommitOrder, NodesOutsideEveryPointReachNobody) {
  EXPECT_THAT(Deliver(Cfm({Leaf("admin", 1)})), IsEmpty());
}

TEST_F(CommitOrder, TheAncestorsOfAPointAreNotThePointsOwn) {
  agent_.ReportAncestors(true);
  EXPECT_THAT(Deliver(Cfm({Entry("md", "e", MOP_MODIFIED,
                                 {Entry("ma", "b", MOP_MODIFIED, {Leaf("ccm-interval", 1)})})})),
              ElementsAre("md: ~ /config/oam/cfm/md{e}", "ma: ~ /config/oam/cfm/md{e}/ma{b}",
                          "ma: = /config/oam/cfm/md{e}/ma{b}/ccm-interval"));
}

TEST_F(CommitOrder, NothingBelowADeletedNodeIsDeliveredWhateverTheAgentTells) {
  agent_.WalkBelowDeleted(true);
  EXPECT_THAT(Deliver(Cfm({Entry("md", "e", MOP_DELETED,
                                 {Leaf("level", 1), Entry("ma", "b", MOP_DELETED,
                                                          {Entry("mep", 5, MOP_DELETED)})})})),
              ElementsAre("md: - /config/oam/cfm/md{e}"));
}

TEST_F(CommitOrder, KeysThatLookLikePathsAreKeptApart) {
  agent_.WalkBelowDeleted(true);
  EXPECT_THAT(Deliver(Cfm({Entry("md", "a/ma", MOP_DELETED, {Entry("ma", "b", MOP_DELETED)}),
                           Entry("md", "a", MOP_MODIFIED, {Entry("ma", "/ma", MOP_CREATED)})})),
              ElementsAre("md: - /config/oam/cfm/md{a/ma}", "md: ~ /config/oam/cfm/md{a}",
                          "ma: + /config/oam/cfm/md{a}/ma{/ma}"));
}

// Steering ---------------------------------------------------------------------

Node TwoMeps() {
  return Cfm({Entry("md", "e", MOP_MODIFIED,
                    {Entry("ma", "b", MOP_MODIFIED,
                           {Entry("mep", 1, MOP_CREATED, {Leaf("direction", 1)}),
                            Entry("mep", 2, MOP_CREATED, {Leaf("direction", 1)})}),
                     Entry("ma", "c", MOP_MODIFIED, {Entry("mep", 3, MOP_CREATED)})})});
}

struct SteeringCase {
  confd_iter_ret answer;
  std::vector<std::string> meps;  // what is delivered to the point of MEPs
};

class Steering : public CommitOrder, public testing::WithParamInterface<SteeringCase> {};

TEST_P(Steering, OfTheFirstMepHoldsForThePointsOwnNodes) {
  handler_.answers["/config/oam/cfm/md{e}/ma{b}/mep{1}"] = GetParam().answer;
  std::vector<std::string> meps;
  int others = 0;
  for (const std::string& call : Deliver(TwoMeps())) {
    if (call.compare(0, 5, "mep: ") == 0) {
      meps.push_back(call.substr(call.find("mep{")));
    } else {
      ++others;
    }
  }
  EXPECT_EQ(meps, GetParam().meps);
  EXPECT_EQ(others, 3);
}

INSTANTIATE_TEST_SUITE_P(
    EveryAnswer, Steering,
    testing::Values(
        SteeringCase{ITER_RECURSE,
                     {"mep{1}", "mep{1}/direction", "mep{2}", "mep{2}/direction", "mep{3}"}},
        SteeringCase{ITER_CONTINUE, {"mep{1}", "mep{2}", "mep{2}/direction", "mep{3}"}},
        SteeringCase{ITER_UP, {"mep{1}", "mep{3}"}}, SteeringCase{ITER_STOP, {"mep{1}"}}));

TEST_F(CommitOrder, WhatAPointLeavesOutADeeperOneStillGets) {
  handler_.answers["/config/oam/cfm/md{e}"] = ITER_STOP;
  EXPECT_EQ(Deliver(TwoMeps()).size(), 8U);
}

TEST_F(CommitOrder, AStopAtADeletedEntryHoldsForTheRestAsWell) {
  handler_.answers["/config/oam/cfm/md{x}"] = ITER_STOP;
  EXPECT_THAT(Deliver(Cfm({Entry("md", "a", MOP_CREATED), Entry("md", "x", MOP_DELETED)})),
              ElementsAre("md: - /config/oam/cfm/md{x}"));
}

// Paths ------------------------------------------------------------------------

TEST_F(CommitOrder, APathWithKeysIsRefused) {
  Handler keyed({"/config/oam/cfm/md{east}/ma/"});
  EXPECT_THROW(Deliver(keyed, Cfm({})), std::invalid_argument);
}

TEST_F(CommitOrder, APathThatTheAgentsModelsDoNotHaveIsAnErrorOfTheAgent) {
  Handler strange({"/config/unknown/"});
  EXPECT_THROW(Deliver(strange, Cfm({})), velconfd::AgentError);
}

TEST_F(CommitOrder, AFailedWalkIsAnErrorOfTheAgent) {
  agent_.Refuse("diff");
  EXPECT_THROW(Deliver(TwoMeps()), velconfd::AgentError);
}

// Cost -------------------------------------------------------------------------

// Every kept keypath as it is would be 40 x 9 values for each of these nodes.
TEST_F(CommitOrder, ALargeCommitIsDeliveredWhole) {
  Nodes meps;
  for (int id = 1; id <= 8191; ++id) {
    meps.push_back(Entry("mep", id, MOP_CREATED, {Leaf("direction", 1), Leaf("time", 2)}));
  }
  const Journal calls = Deliver(
      Cfm({Entry("md", "e", MOP_CREATED, {Entry("ma", "b", MOP_CREATED, std::move(meps))})}));
  EXPECT_EQ(calls.size(), 2U + 3U * 8191U);
}

// Random trees against an obvious reference --------------------------------------

struct Item {
  std::string names;   // /config/oam/cfm/md/
  std::string path;    // /config/oam/cfm/md{e}
  std::string parent;  // /config/oam/cfm
  int op;
  bool keyed;
  bool below_deleted;
};

void Flatten(const Node& node, const Item& above, std::vector<Item>& items) {
  for (const Node& child : node.children) {
    Item item{above.names + child.name + "/",
              above.path + "/" + child.name,
              above.path,
              child.op,
              !child.keys.empty(),
              above.below_deleted || above.op == MOP_DELETED};
    if (item.keyed) {
      const Key& key = child.keys.front();
      item.path += "{" + (key.number ? std::to_string(*key.number) : key.text) + "}";
    }
    items.push_back(item);
    Flatten(child, item, items);
  }
}

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

class Reference {
 public:
  Reference(std::vector<std::string> points, const std::map<std::string, confd_iter_ret>& answers)
      : points_(std::move(points)), answers_(answers) {
    std::sort(points_.begin(), points_.end(),
              [](const auto& a, const auto& b) { return a.size() < b.size(); });
  }

  Journal Deliver(const Node& root) {
    std::vector<Item> items;
    Flatten(root, {"/", "", "", 0, false, false}, items);
    for (auto point = points_.rbegin(); point != points_.rend(); ++point) {
      Call(*point, items, true);
    }
    for (const std::string& point : points_) {
      Call(point, items, false);
    }
    return calls_;
  }

 private:
  bool Owns(const std::string& point, const Item& item) const {
    std::string owner;
    for (const std::string& candidate : points_) {
      owner = StartsWith(item.names, candidate) ? candidate : owner;
    }
    return owner == point;
  }

  bool LeftOut(const std::string& point, const Item& item) {
    const auto& prefixes = left_out_[point];
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&](const std::string& prefix) { return StartsWith(item.path, prefix); });
  }

  void Call(const std::string& point, const std::vector<Item>& items, bool deleted_entries) {
    for (const Item& item : items) {
      const bool deleted_entry = item.op == MOP_DELETED && item.keyed && item.names == point;
      if (item.op == 0 || item.below_deleted || !Owns(point, item) ||
          deleted_entry != deleted_entries || LeftOut(point, item)) {
        continue;
      }
      const auto name = point.rfind('/', point.size() - 2) + 1;
      calls_.push_back(point.substr(name, point.size() - 1 - name) + ": " + kSigns.at(item.op) +
                       " " + item.path);
      const auto answer = answers_.find(item.path);
      if (answer == answers_.end()) {
        continue;
      }
      if (answer->second == ITER_CONTINUE) {
        left_out_[point].insert(item.path + "/");
      } else if (answer->second == ITER_UP) {
        left_out_[point].insert(item.parent + "/");
      } else if (answer->second == ITER_STOP) {
        left_out_[point].insert("/");
      }
    }
  }

  std::vector<std::string> points_;
  std::map<std::string, confd_iter_ret> answers_;
  std::map<std::string, std::set<std::string>> left_out_;
  Journal calls_;
};

class RandomTrees {
 public:
  explicit RandomTrees(unsigned seed) : random_(seed) {}

  int Below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random_); }

  Node Tree() {
    return Cfm(Entries("md", [this] {
      Nodes children = Some({Leaf("level", 1), Leaf("note", 2)});
      Append(children, Entries("ma", [this] { return Ma(); }));
      return Shuffled(std::move(children));
    }));
  }

  std::map<std::string, confd_iter_ret> Answers(const Node& root) {
    std::vector<Item> items;
    Flatten(root, {"/", "", "", 0, false, false}, items);
    std::map<std::string, confd_iter_ret> answers;
    for (const Item& item : items) {
      static constexpr confd_iter_ret kAnswers[] = {ITER_CONTINUE, ITER_UP, ITER_STOP};
      if (Below(6) == 0) {
        answers[item.path] = kAnswers[Below(3)];
      }
    }
    return answers;
  }

 private:
  Nodes Ma() {
    Nodes children = Some({Leaf("ccm-interval", 1), Leaf("primary-vlan-id", 2)});
    for (int i = Below(3); i > 0; --i) {
      children.push_back(Element("remote-meps", i, Below(2) == 0 ? MOP_CREATED : MOP_DELETED));
    }
    Append(children, Entries("mep", [this] { return Mep(); }));
    return Shuffled(std::move(children));
  }

  Nodes Mep() {
    return Some({Leaf("direction", 1),
                 Container("continuity-check", 1 + Below(3),
                           Some({Container("cci-enabled", 1 + Below(2)), Leaf("time", 5)}))});
  }

  template <class Children>
  Nodes Entries(const char* list, Children children) {
    Nodes entries;
    for (int i = Below(4); i > 0; --i) {
      entries.push_back({list, {i}, 1 + Below(3), {}, {}, children()});
    }
    return entries;
  }

  Nodes Some(Nodes nodes) {
    nodes.erase(
        std::remove_if(nodes.begin(), nodes.end(), [this](const Node&) { return Below(3) == 0; }),
        nodes.end());
    return nodes;
  }
  Nodes Shuffled(Nodes nodes) {
    std::shuffle(nodes.begin(), nodes.end(), random_);
    return nodes;
  }
  static void Append(Nodes& to, const Nodes& more) {
    to.insert(to.end(), more.begin(), more.end());
  }

  std::mt19937 random_;
};

TEST_F(CommitOrder, RandomTreesAreDeliveredAsTheReferenceDoes) {
  const std::vector<std::vector<std::string>> kPoints = {
      {kMep, kMa, kMd}, {kMd, kMa, kMep}, {kMd}, {kMa}, {kMep, kMd}, {"/config/oam/cfm/", kMa}};
  std::size_t delivered = 0;
  for (unsigned seed = 0; seed < 600; ++seed) {
    RandomTrees random(seed);
    const auto& points = kPoints[seed % kPoints.size()];
    const Node tree = random.Tree();
    Handler handler(points);
    handler.answers = random.Answers(tree);
    // Without a point above it nobody can know that an MD is deleted.
    agent_.WalkBelowDeleted(random.Below(2) == 0 && points != std::vector<std::string>{kMa});
    agent_.ReportAncestors(random.Below(2) == 0);
    Deliver(handler, tree);
    ASSERT_EQ(handler.calls, Reference(points, handler.answers).Deliver(tree)) << "seed " << seed;
    delivered += handler.calls.size();
  }
  EXPECT_GT(delivered, 2000U);
}

}  // namespace
}  // namespace test
