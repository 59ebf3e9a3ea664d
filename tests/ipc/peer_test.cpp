#include "peer.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <system_error>

#include "unique_fd.h"

namespace {

constexpr ipc::Owner kOwner{.uid = 100, .gid = 200};

TEST(Peer, RootTheOwnUserAndTheMembersOfTheGroupMayConnect) {
  EXPECT_TRUE(ipc::MayConnect({.pid = 1, .uid = 0, .gid = 0}, kOwner));
  EXPECT_TRUE(ipc::MayConnect({.pid = 1, .uid = 100, .gid = 5}, kOwner));
  EXPECT_TRUE(ipc::MayConnect({.pid = 1, .uid = 5, .gid = 200}, kOwner));
  EXPECT_TRUE(ipc::MayConnect({.pid = 1, .uid = 5, .gid = 5, .groups = {7, 200}}, kOwner));
}

TEST(Peer, NobodyElseMayConnect) {
  EXPECT_FALSE(ipc::MayConnect({.pid = 1, .uid = 200, .gid = 100}, kOwner));
  EXPECT_FALSE(ipc::MayConnect({.pid = 1, .uid = 5, .gid = 5, .groups = {7, 8}}, kOwner));
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
