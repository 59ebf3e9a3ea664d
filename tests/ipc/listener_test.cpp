#include "listener.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "connect.h"
#include "loop.h"
#include "temporary_directory.h"

namespace {

class Listener : public testing::Test {
 protected:
  ipc::Listener Listen(mode_t mode = 0660) {
    return {loop_.Get(), path_, 0,
            [this](ipc::UniqueFd socket, const ipc::Peer& peer) {
              accepted_ = std::move(socket);
              peer_ = peer;
            },
            mode};
  }

  // A socket file that nobody listens at, as a killed process leaves it.
  void LeaveStaleSocket() {
    const ipc::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  }

  test::TemporaryDirectory directory_;
  std::filesystem::path path_ = directory_.Path() / "agentd.sock";
  Loop loop_;
  ipc::UniqueFd accepted_;
  std::optional<ipc::Peer> peer_;
};

TEST_F(Listener, HandsOverConnectionsWithTheirCredentials) {
  const ipc::Listener listener = Listen();
  const ipc::UniqueFd client = ipc::ConnectUnix(path_);
  ASSERT_TRUE(loop_.RunUntil([this] { return peer_.has_value(); }));
  EXPECT_EQ(peer_->pid, getpid());
  EXPECT_EQ(peer_->uid, getuid());
  EXPECT_EQ(peer_->gid, getgid());
  ASSERT_EQ(send(client.Get(), "x", 1, 0), 1);
  char byte = 0;
  EXPECT_EQ(recv(accepted_.Get(), &byte, 1, 0), 1);
  EXPECT_EQ(byte, 'x');
}

TEST_F(Listener, HasTheModeThatItIsGivenWhateverTheMask) {
  for (const mode_t mode : {0660, 0666}) {
    const mode_t mask = umask(077);
    const ipc::Listener listener = Listen(mode);
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, mode);
  }
}

TEST_F(Listener, LeavesNothingBehind) {
  { const ipc::Listener listener = Listen(); }
  EXPECT_TRUE(std::filesystem::is_empty(directory_.Path()));
}

TEST_F(Listener, ReplacesASocketThatAKilledProcessLeft) {
  LeaveStaleSocket();
  EXPECT_THROW(ipc::ConnectUnix(path_), std::system_error);
  const ipc::Listener listener = Listen();
  const ipc::UniqueFd client = ipc::ConnectUnix(path_);
  EXPECT_TRUE(loop_.RunUntil([this] { return peer_.has_value(); }));
}

TEST_F(Listener, SurvivesAnAcceptHandlerThatFails) {
  int calls = 0;
  const ipc::Listener listener(loop_.Get(), path_, 0, [&calls](ipc::UniqueFd, const ipc::Peer&) {
    if (++calls == 1) {
      throw std::runtime_error("no room");
    }
  });
  const ipc::UniqueFd first = ipc::ConnectUnix(path_);
  const ipc::UniqueFd second = ipc::ConnectUnix(path_);
  EXPECT_TRUE(loop_.RunUntil([&calls] { return calls == 2; }));
}

TEST_F(Listener, TurnsAPeerAwayWhenDescriptorsRunOut) {
  const ipc::Listener listener = Listen();
  const ipc::UniqueFd client = ipc::ConnectUnix(path_);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few{.rlim_cur = 64, .rlim_max = before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  std::vector<ipc::UniqueFd> fill;
  do {
    fill.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
  } while (fill.back());
  EXPECT_EQ(loop_.RunReady(), 1) << "the waiting connection wakes the loop again and again";
  fill.clear();
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_FALSE(peer_.has_value());
  char byte = 0;
  EXPECT_EQ(recv(client.Get(), &byte, 1, MSG_DONTWAIT), 0);
  const ipc::UniqueFd next = ipc::ConnectUnix(path_);
  EXPECT_TRUE(loop_.RunUntil([this] { return peer_.has_value(); }));
}

TEST_F(Listener, NamesAPathThatCannotBe) {
  path_ = directory_.Path() / "missing" / "agentd.sock";
  try {
    Listen();
    FAIL() << "listens in a missing directory";
  } catch (const std::system_error& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("missing/.agentd.sock"));
    EXPECT_EQ(error.code().value(), ENOENT);
  }
}

TEST_F(Listener, RefusesAPathThatIsTooLongForASocket) {
  path_ = directory_.Path() / std::string(200, 'x');
  try {
    Listen();
    FAIL() << "bound a path that does not fit";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), ENAMETOOLONG);
  }
}

TEST_F(Listener, ConnectionToNobodyNamesThePath) {
  try {
    ipc::ConnectUnix(path_);
    FAIL() << "connected to nobody";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), ENOENT);
    EXPECT_THAT(error.what(), testing::HasSubstr(path_.native()));
  }
}

}  // namespace
