#include <stdlib.h>

#include <future>

#include "command_fixture.h"
#include "core/expected_hierarchy.h"
#include "fakes.h"
#include "trees.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;
using testing::HasSubstr;

// The element has one interface, ge1.
std::uint32_t InterfaceId(const std::string& name) {
  return name == "ge1" ? 101 : 0;
}

cfm::Hierarchy HierarchyOf(const TreeNode& cfm) {
  return ExpectedHierarchy(cfm, InterfaceId);
}

class Verify : public test::CommandTest {
 protected:
  Verify() {
    setenv("CFM_INTERFACES", WriteFile("interfaces", "ge1 101 linux\n").c_str(), 1);
    agent_.SetStatus(test::StatusOf(12));
    Commit(test::Cfm());
    agent_.on_request = [this](const agent::Request& request) {
      EXPECT_TRUE(request.get().with_defaults());
      EXPECT_EQ(request.get().datastore(), agent::DATASTORE_RUNNING);
      const std::lock_guard lock(mutex_);
      agent::Reply reply;
      *reply.mutable_node() = test::ToNode(test::Root(committed_));
      return reply;
    };
  }
  ~Verify() override { unsetenv("CFM_INTERFACES"); }

  void Commit(const TreeNode& cfm) {
    const std::lock_guard lock(mutex_);
    committed_ = cfm;
  }

  std::mutex mutex_;
  TreeNode committed_;
  test::FakeAgent agent_{Directory()};
};

TEST_F(Verify, SaysThatTheManagerHoldsWhatIsCommitted) {
  const test::FakeManager manager(Directory(), HierarchyOf(test::Cfm()));
  const auto outcome = Run({"verify"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out,
            "the CFM manager holds what is committed: transaction 12, 2 MDs, 1 MA, 2 MEPs\n");
}

TEST_F(Verify, AnEmptyConfigurationIsHeldByAnEmptyManager) {
  Commit(test::Container("cfm", {}));
  const test::FakeManager manager(Directory(), {});
  EXPECT_EQ(Run({"verify", "--wait", "0"}).status, 0);
}

TEST_F(Verify, NamesTheDifferences) {
  cfm::Hierarchy held = HierarchyOf(test::Cfm());
  held.at("west").level = 4;
  held.at("east").mas.at("blue").meps.erase(6);
  const test::FakeManager manager(Directory(), held);
  const auto outcome = Run({"verify", "--wait", "0"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "cfmctl: the CFM manager does not hold what is committed (transaction 12): 2 "
            "differences\n"
            "  md{east}/ma{blue}/mep{6}: is committed, but the manager does not have it\n"
            "  md{west}: level is 4, expected 5\n");
}

TEST_F(Verify, ShowsOnlyTheFirstOfManyDifferences) {
  cfm::Hierarchy held = HierarchyOf(test::Cfm());
  for (int i = 0; i < 20; ++i) {
    held["surplus" + std::to_string(i)];
  }
  const test::FakeManager manager(Directory(), held);
  const auto outcome = Run({"verify", "--wait", "0"});
  EXPECT_THAT(outcome.err, HasSubstr("20 differences"));
  EXPECT_THAT(outcome.err, HasSubstr("  and 10 more\n"));
}

TEST_F(Verify, WaitsForACommitThatIsOnItsWayToTheManager) {
  test::FakeManager manager(Directory(), {});
  auto outcome = std::async(std::launch::async, [&] { return Run({"verify", "--wait", "30"}); });
  manager.AwaitObserver();
  manager.Hold(HierarchyOf(test::Cfm()));
  const auto seen = outcome.get();
  EXPECT_EQ(seen.status, 0) << seen.err;
}

TEST_F(Verify, FollowsACommitThatHappensMeanwhile) {
  TreeNode changed = test::Cfm();
  changed.children.pop_back();
  test::FakeManager manager(Directory(), HierarchyOf(changed));
  auto outcome = std::async(std::launch::async, [&] { return Run({"verify", "--wait", "30"}); });
  manager.AwaitObserver();
  Commit(changed);
  agent_.SetStatus(test::StatusOf(13));
  const auto seen = outcome.get();
  EXPECT_EQ(seen.status, 0) << seen.err;
}

TEST_F(Verify, AManagerThatGoesAwayIsNotReachable) {
  auto manager = std::make_unique<test::FakeManager>(Directory(), cfm::Hierarchy());
  auto outcome = std::async(std::launch::async, [&] { return Run({"verify", "--wait", "30"}); });
  manager->AwaitObserver();
  manager.reset();
  const auto seen = outcome.get();
  EXPECT_EQ(seen.status, 3);
  EXPECT_THAT(seen.err, HasSubstr("the CFM manager went away"));
}

TEST_F(Verify, WithoutAManagerThereIsNothingToCompare) {
  EXPECT_EQ(Run({"verify"}).status, 3);
}

}  // namespace
}  // namespace cfmctl
