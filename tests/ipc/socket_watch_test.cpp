#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

#include "connect.h"
#include "listener.h"
#include "loop.h"
#include "temporary_directory.h"

namespace {

class SocketWatch : public testing::Test {
 protected:
  void Start() { watch_->Start(); }
  ipc::Listener Listen() {
    return {loop_.Get(), path_, 0, [](ipc::UniqueFd, const ipc::Peer&) {}};
  }
  bool RunUntilCalls(int count) {
    return loop_.RunUntil([this, count] { return calls_ >= count; });
  }

  test::TemporaryDirectory directory_;
  std::filesystem::path path_ = directory_.Path() / "run" / "agentd.sock";
  Loop loop_;
  int calls_ = 0;
  std::function<void()> on_candidate_ = [] {};
  std::unique_ptr<ipc::SocketWatch> watch_ =
      std::make_unique<ipc::SocketWatch>(loop_.Get(), path_, 0, [this] {
        ++calls_;
        on_candidate_();
      });
};

class SocketWatchInDirectory : public SocketWatch {
 protected:
  SocketWatchInDirectory() { std::filesystem::create_directory(path_.parent_path()); }
};

TEST_F(SocketWatchInDirectory, CallsOnceAfterStartAndNotFromInsideIt) {
  Start();
  EXPECT_EQ(calls_, 0);
  loop_.RunReady();
  EXPECT_EQ(calls_, 1);
  EXPECT_EQ(loop_.RunReady(), 0);
}

TEST_F(SocketWatchInDirectory, SeesAListenerThatComesLaterAndCanConnectAtOnce) {
  ipc::UniqueFd connection;
  Start();
  loop_.RunReady();
  on_candidate_ = [&] { connection = ipc::ConnectUnix(path_); };
  const ipc::Listener listener = Listen();
  ASSERT_TRUE(RunUntilCalls(2));
  EXPECT_TRUE(connection);
}

TEST_F(SocketWatchInDirectory, SeesEveryNewListener) {
  Start();
  loop_.RunReady();
  for (int i = 0; i < 3; ++i) {
    const ipc::Listener listener = Listen();
    ASSERT_TRUE(RunUntilCalls(2 + i));
  }
  EXPECT_EQ(calls_, 4);
}

TEST_F(SocketWatchInDirectory, IgnoresOtherFiles) {
  Start();
  loop_.RunReady();
  std::ofstream(path_.parent_path() / "agentd.sock.old") << "x";
  std::ofstream(path_.parent_path() / ".agentd.sock") << "x";
  loop_.RunReady();
  EXPECT_EQ(calls_, 1);
}

TEST_F(SocketWatchInDirectory, IsSilentAfterStopAndStartsAgain) {
  Start();
  watch_->Stop();
  const ipc::Listener listener = Listen();
  loop_.RunReady();
  EXPECT_EQ(calls_, 0);
  Start();
  loop_.RunReady();
  EXPECT_EQ(calls_, 1);
}

TEST_F(SocketWatchInDirectory, MayBeStoppedByItsCall) {
  on_candidate_ = [this] { watch_->Stop(); };
  Start();
  loop_.RunReady();
  const ipc::Listener listener = Listen();
  loop_.RunReady();
  EXPECT_EQ(calls_, 1);
}

TEST_F(SocketWatchInDirectory, MayBeDestroyedByItsCall) {
  on_candidate_ = [this] { watch_.reset(); };
  Start();
  loop_.RunReady();
  EXPECT_EQ(calls_, 1);
}

TEST_F(SocketWatchInDirectory, FindsADirectoryThatWasMadeAnew) {
  Start();
  loop_.RunReady();
  std::filesystem::remove(path_.parent_path());
  loop_.RunReady();
  EXPECT_EQ(calls_, 1);
  std::filesystem::create_directory(path_.parent_path());
  ASSERT_TRUE(RunUntilCalls(2));
  const ipc::Listener listener = Listen();
  EXPECT_TRUE(RunUntilCalls(3));
}

TEST_F(SocketWatchInDirectory, DoesNotFollowADirectoryThatMoves) {
  Start();
  loop_.RunReady();
  std::filesystem::rename(path_.parent_path(), directory_.Path() / "old");
  loop_.RunReady();
  std::filesystem::create_directory(path_.parent_path());
  const ipc::Listener listener = Listen();
  EXPECT_TRUE(RunUntilCalls(2));
}

TEST_F(SocketWatch, WaitsForADirectoryThatIsNotThereYet) {
  Start();
  loop_.RunReady();
  EXPECT_EQ(calls_, 1);
  std::filesystem::create_directory(path_.parent_path());
  const ipc::Listener listener = Listen();
  EXPECT_TRUE(RunUntilCalls(2));
}

}  // namespace
