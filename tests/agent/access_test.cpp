// What members of which group may do at the agent's socket.
#include <grp.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <system_error>

#include "connect.h"
#include "fixture.h"
#include "frame.h"
#include "identity.h"
#include "running_agent.h"

namespace agentd::test {
namespace {

using ::test::Identity;
using ::test::kStranger;
using ::test::kStrangersGroup;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Every Debian has it, and neither root nor the strangers are in it.
constexpr const char* kViewGroup = "nogroup";

class Access : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!::test::CanRunAs()) {
      GTEST_SKIP() << "only root can connect as somebody else";
    }
    const group* found = getgrnam(kViewGroup);
    ASSERT_NE(found, nullptr);
    view_gid_ = found->gr_gid;
  }
  void Start(const std::string& view_group) {
    agent_.emplace(std::vector<std::string>{"--view-group", view_group});
    const std::filesystem::path run = agent_->Socket().parent_path();
    for (const auto& directory : {run, run.parent_path()}) {
      std::filesystem::permissions(directory, std::filesystem::perms(0755));
    }
  }
  void Connect(const Identity& who, pb::Role role = pb::ROLE_FRONT_END) {
    ::test::RunAs(who, [this, role] { client_.emplace(*agent_, role); });
  }
  Identity Viewer() const { return {kStranger, kStrangersGroup, {7, view_gid_}}; }

  // Message of the only error.
  static std::string Refusal(const pb::Reply& reply) {
    EXPECT_EQ(reply.errors_size(), 1);
    return reply.errors_size() > 0 ? reply.errors(0).message() : "";
  }

  gid_t view_gid_ = 0;
  std::optional<RunningAgent> agent_;
  std::optional<Client> client_;
};

TEST_F(Access, MembersOfTheDaemonsGroupMayDoEverything) {
  Start("no-such-group");
  Connect({kStranger, kStrangersGroup, {7, getegid()}});
  EXPECT_THAT(client_->Welcome().error(), IsEmpty());
  EXPECT_EQ(client_->Edit({Document(EastDocument())}).txid(), 1U);
}

TEST_F(Access, MembersOfTheViewGroupLookAtEverything) {
  Start(kViewGroup);
  Client(*agent_, pb::ROLE_FRONT_END).Edit({Document(EastDocument())});
  Connect(Viewer());
  EXPECT_THAT(client_->Welcome().error(), IsEmpty());
  EXPECT_THAT(client_->Show(), HasSubstr("east"));
  EXPECT_EQ(client_->Status().txid(), 1U);
  EXPECT_EQ(client_->Get("/status").errors_size(), 0);
  EXPECT_EQ(client_->DiffCandidate().errors_size(), 0);
  EXPECT_EQ(client_->Edit({SetLeaf(std::string(kEast) + "/level", "4")}, pb::Edit::TEST_ONLY)
                .errors_size(),
            0);
  pb::Request watch;
  watch.mutable_watch_operational()->set_path("/status");
  EXPECT_EQ(client_->Call(watch).errors_size(), 0);
}

TEST_F(Access, MembersOfTheViewGroupChangeNothing) {
  Start(kViewGroup);
  Connect({kStranger, view_gid_});
  const std::string refusal = "user 54321 may look, but not change anything: become a member of";
  EXPECT_THAT(Refusal(client_->Edit({Document(EastDocument())})), HasSubstr(refusal));
  EXPECT_THAT(Refusal(client_->Edit({Document(EastDocument())}, pb::Edit::CANDIDATE)),
              HasSubstr(refusal));
  EXPECT_THAT(Refusal(client_->CommitCandidate()), HasSubstr(refusal));
  EXPECT_THAT(Refusal(client_->DiscardCandidate()), HasSubstr(refusal));
  pb::Request invoke;
  invoke.mutable_invoke();
  EXPECT_THAT(Refusal(client_->Call(invoke)), HasSubstr(refusal));
  EXPECT_EQ(client_->Status().txid(), 0U);
  EXPECT_FALSE(client_->Status().candidate_open());
}

TEST_F(Access, MembersOfTheViewGroupAreNoConfdPrograms) {
  Start(kViewGroup);
  for (const pb::Role role : {pb::ROLE_CDB_DATA, pb::ROLE_CDB_SUBSCRIPTION, pb::ROLE_CONTROL}) {
    Connect(Viewer(), role);
    EXPECT_THAT(client_->Welcome().error(), HasSubstr("may look, but not use the ConfD API"));
    EXPECT_TRUE(client_->IsClosed());
  }
  Connect(Viewer(), pb::ROLE_SCHEMA);
  EXPECT_THAT(client_->Welcome().error(), IsEmpty());
}

TEST_F(Access, OthersAreTurnedAwayWithAReason) {
  Start(kViewGroup);
  ::test::RunAs({kStranger, kStrangersGroup, {7}}, [this] {
    const ipc::UniqueFd fd = ipc::ConnectUnix(agent_->Socket());
    pb::HelloReply reply;
    ASSERT_TRUE(ipc::ReceiveFrame(fd.Get(), reply));
    EXPECT_THAT(reply.error(), HasSubstr("user 54321 may not connect to agentd"));
    EXPECT_THAT(reply.error(), HasSubstr(", or to look only, of nogroup"));
  });
}

TEST_F(Access, NobodyMayOnlyLookWhenThereIsNoSuchGroup) {
  Start("no-such-group");
  EXPECT_THAT(agent_->Log(), HasSubstr("there is no group 'no-such-group': nobody may only look"));
  ::test::RunAs(Viewer(),
                [this] { EXPECT_THROW(ipc::ConnectUnix(agent_->Socket()), std::system_error); });
}

}  // namespace
}  // namespace agentd::test
