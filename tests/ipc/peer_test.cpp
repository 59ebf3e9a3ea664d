#include "peer.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <system_error>
#include <vector>

#include "identity.h"
#include "unique_fd.h"

namespace {

constexpr ipc::Owner kOwner{.uid = 100, .gid = 200};

constexpr ipc::Owner kOwnerWithView{.uid = 100, .gid = 200, .view_gid = 300};

TEST(Access, OfRootTheOwnUserAndTheMembersOfTheGroupIsFull) {
  for (const ipc::Owner& owner : {kOwner, kOwnerWithView}) {
    using ipc::AccessOf;
    EXPECT_EQ(AccessOf({.pid = 1, .uid = 0, .gid = 0}, owner), ipc::Access::kFull);
    EXPECT_EQ(AccessOf({.pid = 1, .uid = 100, .gid = 5}, owner), ipc::Access::kFull);
    EXPECT_EQ(AccessOf({.pid = 1, .uid = 5, .gid = 200}, owner), ipc::Access::kFull);
    EXPECT_EQ(AccessOf({.pid = 1, .uid = 5, .gid = 300, .groups = {7, 200}}, owner),
              ipc::Access::kFull);
  }
}

TEST(Access, OfTheOtherMembersOfTheViewGroupIsToView) {
  EXPECT_EQ(ipc::AccessOf({.pid = 1, .uid = 5, .gid = 300}, kOwnerWithView), ipc::Access::kView);
  EXPECT_EQ(ipc::AccessOf({.pid = 1, .uid = 5, .gid = 5, .groups = {7, 300}}, kOwnerWithView),
            ipc::Access::kView);
}

TEST(Access, OfEverybodyElseIsNone) {
  const ipc::Peer viewer{.pid = 1, .uid = 5, .gid = 300, .groups = {300}};
  EXPECT_EQ(ipc::AccessOf(viewer, kOwner), ipc::Access::kNone);
  for (const ipc::Owner& owner : {kOwner, kOwnerWithView}) {
    EXPECT_EQ(ipc::AccessOf({.pid = 1, .uid = 200, .gid = 100}, owner), ipc::Access::kNone);
    EXPECT_EQ(ipc::AccessOf({.pid = 1, .uid = 300, .gid = 5, .groups = {7, 8}}, owner),
              ipc::Access::kNone);
  }
}

TEST(Owner, IsThisProcessAndTheViewGroupOfThatName) {
  const ipc::Owner owner = ipc::OwnerWithViewGroup("daemon");
  EXPECT_EQ(owner.uid, geteuid());
  EXPECT_EQ(owner.gid, getegid());
  ASSERT_TRUE(owner.view_gid.has_value());
  EXPECT_EQ(ipc::GroupName(*owner.view_gid), "daemon");
  EXPECT_EQ(ipc::SocketMode(owner), 0666U);
}

TEST(Owner, LetsNobodyViewWhenThereIsNoSuchGroup) {
  for (const char* name : {"no-such-group", ""}) {
    const ipc::Owner owner = ipc::OwnerWithViewGroup(name);
    EXPECT_FALSE(owner.view_gid.has_value());
    EXPECT_EQ(ipc::SocketMode(owner), 0660U);
  }
}

TEST(Owner, HasAGroupWhoseNumberStandsForAMissingName) {
  EXPECT_EQ(ipc::GroupName(test::kStrangersGroup), std::to_string(test::kStrangersGroup));
}

TEST(Peer, SupplementaryGroupsAreAmongItsCredentials) {
  if (!test::CanRunAs()) {
    GTEST_SKIP() << "only root can connect as somebody else";
  }
  ipc::Peer peer;
  test::RunAs({.uid = test::kStranger, .gid = test::kStrangersGroup, .groups = {7, 8, 9}}, [&peer] {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    const ipc::UniqueFd ours(pair[0]);
    const ipc::UniqueFd theirs(pair[1]);
    peer = ipc::CredentialsOf(ours.Get());
  });
  EXPECT_EQ(peer.uid, test::kStranger);
  EXPECT_EQ(peer.gid, test::kStrangersGroup);
  EXPECT_EQ(peer.groups, (std::vector<gid_t>{7, 8, 9}));
}

TEST(Peer, CredentialsAreThoseOfTheProcessAtTheOtherEnd) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  const ipc::UniqueFd ours(pair[0]);
  const ipc::UniqueFd theirs(pair[1]);
  const ipc::Peer peer = ipc::CredentialsOf(ours.Get());
  EXPECT_EQ(peer.pid, getpid());
  EXPECT_EQ(peer.uid, geteuid());
  EXPECT_EQ(peer.gid, getegid());
  std::vector<gid_t> groups(static_cast<std::size_t>(getgroups(0, nullptr)));
  ASSERT_GE(getgroups(static_cast<int>(groups.size()), groups.data()), 0);
  EXPECT_EQ(peer.groups, groups);
}

TEST(Peer, CredentialsOfWhatIsNoSocketAreAnError) {
  EXPECT_THROW(ipc::CredentialsOf(-1), std::system_error);
}

}  // namespace
