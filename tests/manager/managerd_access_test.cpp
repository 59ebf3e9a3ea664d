// What members of which group may do at the manager's socket.
#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "identity.h"
#include "manager.pb.h"
#include "peer.h"
#include "process.h"
#include "temporary_directory.h"

namespace {

using cfm::manager::ROLE_CONFIGURE;
using cfm::manager::ROLE_OBSERVE;
using test::kStranger;
using test::kStrangersGroup;
using testing::HasSubstr;

// Every Debian has it, and neither root nor the strangers are in it.
constexpr const char* kViewGroup = "nogroup";

class ManagerdAccess : public testing::Test {
 protected:
  void SetUp() override {
    if (!test::CanRunAs()) {
      GTEST_SKIP() << "only root can connect as somebody else";
    }
    const group* found = getgrnam(kViewGroup);
    ASSERT_NE(found, nullptr);
    view_gid_ = found->gr_gid;
    std::filesystem::permissions(directory_.Path(), std::filesystem::perms(0755));
  }
  void Start(const std::string& view_group) {
    process_ = std::make_unique<test::Process>(
        std::vector<std::string>{CFM_MANAGERD, "--view-group", view_group},
        test::Process::Options{.environment = {{"CFM_RUNTIME_DIR", directory_.Path()},
                                               {"CFM_INTERFACES", directory_.Path() / "interfaces"},
                                               {"CFM_LOG", "stderr"}},
                               .directory = directory_.Path(),
                               .name = "managerd"});
    ASSERT_TRUE(process_->AwaitReady()) << process_->Log();
  }
  std::unique_ptr<test::Peer> ConnectAs(const test::Identity& who) const {
    std::unique_ptr<test::Peer> peer;
    test::RunAs(who, [this, &peer] {
      peer = std::make_unique<test::Peer>(directory_.Path() / "cfm-managerd.sock");
    });
    return peer;
  }

  gid_t view_gid_ = 0;
  test::TemporaryDirectory directory_;
  std::unique_ptr<test::Process> process_;
};

TEST_F(ManagerdAccess, MembersOfTheDaemonsGroupMayConfigure) {
  Start("no-such-group");
  const auto peer = ConnectAs({kStranger, kStrangersGroup, {7, getegid()}});
  peer->SayHello(1, ROLE_CONFIGURE, "member");
  EXPECT_EQ(peer->HelloError(), "");
  peer->SendConfiguration(1, {});
  EXPECT_EQ(peer->ReceiveApplied().number(), 1U);
}

TEST_F(ManagerdAccess, MembersOfTheViewGroupMayObserve) {
  Start(kViewGroup);
  const auto peer = ConnectAs({kStranger, kStrangersGroup, {7, view_gid_}});
  peer->SayHello(1, ROLE_OBSERVE, "viewer");
  EXPECT_EQ(peer->HelloError(), "");
  EXPECT_TRUE(peer->Receive().has_configuration());
}

TEST_F(ManagerdAccess, MembersOfTheViewGroupMayNotConfigure) {
  Start(kViewGroup);
  const auto peer = ConnectAs({kStranger, view_gid_});
  peer->SayHello(1, ROLE_CONFIGURE, "viewer");
  EXPECT_THAT(peer->HelloError(), HasSubstr("user 54321 may observe, but not configure"));
  EXPECT_TRUE(peer->IsClosed());
}

TEST_F(ManagerdAccess, OthersAreTurnedAwayWithAReason) {
  Start(kViewGroup);
  const auto peer = ConnectAs({kStranger, kStrangersGroup, {7}});
  const std::string reason = peer->HelloError();
  EXPECT_THAT(reason, HasSubstr("of user 54321 and group 54321 may not use the CFM manager"));
  EXPECT_THAT(reason, HasSubstr(", or to observe only, with group nogroup"));
}

TEST_F(ManagerdAccess, NobodyMayOnlyObserveWhenThereIsNoSuchGroup) {
  Start("no-such-group");
  EXPECT_THAT(process_->Log(),
              HasSubstr("there is no group 'no-such-group': nobody may only look"));
  EXPECT_THROW(ConnectAs({kStranger, kStrangersGroup, {view_gid_}}), std::system_error);
}

}  // namespace
