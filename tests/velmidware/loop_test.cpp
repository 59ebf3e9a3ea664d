#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "temporary_directory.h"
#include "unique_fd.h"
#include "velmidware_loop.h"

namespace {

// Calls `step` once from the loop.
template <typename Step>
void Defer(velmw_t* handle, Step& step) {
  ASSERT_GE(sd_event_add_defer(
                velmw::EventLoop(handle), nullptr,
                [](sd_event_source*, void* data) {
                  (*static_cast<Step*>(data))();
                  return 0;
                },
                &step),
            0);
}

class MiddlewareLoop : public testing::Test {
 protected:
  void SetUp() override {
    setenv("CFM_RUNTIME_DIR", directory_.Path().c_str(), 1);
    setenv("CFM_LOG", "stderr", 1);
    handle_ = velmw_init("cfm-app");
  }
  void TearDown() override {
    velmw_finish(&handle_);
    EXPECT_EQ(handle_, nullptr);
    unsetenv("CFM_RUNTIME_DIR");
    unsetenv("CFM_LOG");
  }

  test::TemporaryDirectory directory_;
  velmw_t* handle_ = nullptr;
  bool run_ = true;
};

TEST_F(MiddlewareLoop, EndsCleanlyOnSigterm) {
  raise(SIGTERM);
  EXPECT_EQ(velmw_loop_while(handle_, &run_), 0);
  EXPECT_TRUE(run_);
}

TEST_F(MiddlewareLoop, EndsCleanlyOnSigintFromInside) {
  auto interrupt = [] { raise(SIGINT); };
  Defer(handle_, interrupt);
  EXPECT_EQ(velmw_loop_while(handle_, &run_), 0);
}

TEST_F(MiddlewareLoop, DoesNothingWhenTheFlagIsFalse) {
  run_ = false;
  bool called = false;
  auto call = [&called] { called = true; };
  Defer(handle_, call);
  EXPECT_EQ(velmw_loop_while(handle_, &run_), 0);
  EXPECT_FALSE(called);
}

TEST_F(MiddlewareLoop, EndsWhenAHandlerClearsTheFlag) {
  auto clear = [this] { run_ = false; };
  Defer(handle_, clear);
  EXPECT_EQ(velmw_loop_while(handle_, &run_), 0);
}

TEST_F(MiddlewareLoop, ReportsAnErrorEndWithItsReason) {
  auto fail = [this] { velmw::EndLoopWithError(handle_, "the configuration has moved on"); };
  Defer(handle_, fail);
  testing::internal::CaptureStderr();
  EXPECT_EQ(velmw_loop_while(handle_, &run_), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "cfm-app: error: the configuration has moved on\n");
}

TEST_F(MiddlewareLoop, WritesToPeersThatAreGoneWithoutDying) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const ipc::UniqueFd here(ends[0]);
  close(ends[1]);
  EXPECT_EQ(write(here.Get(), "x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
}

TEST_F(MiddlewareLoop, PassesOnTheAgentsStateUntilForgotten) {
  int calls = 0;
  const int registration = velmw::OnAgentState(handle_, [&calls](velmw::AgentState) { ++calls; });
  velmw::AnnounceAgentState(handle_, velmw::AgentState::kUp);
  EXPECT_EQ(calls, 1);
  velmw::ForgetAgentState(handle_, registration);
  velmw::AnnounceAgentState(handle_, velmw::AgentState::kDown);
  EXPECT_EQ(calls, 1);
}

TEST_F(MiddlewareLoop, KeepsASecondInstanceAway) {
  EXPECT_EXIT(velmw_init("cfm-app"), testing::ExitedWithCode(1),
              ": cannot start: cfm-app already runs");
}

TEST_F(MiddlewareLoop, SaysWhyItCannotStart) {
  setenv("CFM_RUNTIME_DIR", (directory_.Path() / "a" / "b").c_str(), 1);
  EXPECT_EXIT(velmw_init("cfm-app"), testing::ExitedWithCode(1),
              ": cannot start: create directory .*/a/b.*No such file");
}

TEST(Middleware, WithoutAHandleHasNoLoop) {
  EXPECT_THROW(velmw::EventLoop(nullptr), std::runtime_error);
}

// The service manager's end of the notification socket.
class NotifySocket {
 public:
  explicit NotifySocket(const std::filesystem::path& path)
      : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(bind(socket_.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    setenv("NOTIFY_SOCKET", path.c_str(), 1);
  }
  ~NotifySocket() { unsetenv("NOTIFY_SOCKET"); }

  int Fd() const { return socket_.Get(); }
  // The next notification that was sent; empty when there is none.
  std::string Next() const {
    char text[256];
    const ssize_t size = recv(socket_.Get(), text, sizeof(text), 0);
    return {text, size > 0 ? static_cast<std::size_t>(size) : 0};
  }

 private:
  ipc::UniqueFd socket_;
};

TEST_F(MiddlewareLoop, TellsTheServiceManagerWhenItIsReadyAndWhenItEnds) {
  const NotifySocket socket(directory_.Path() / "notify");
  EXPECT_EQ(socket.Next(), "");
  velmw::NotifyReady(handle_);
  EXPECT_EQ(socket.Next(), "READY=1");
  run_ = false;
  velmw_loop_while(handle_, &run_);
  EXPECT_EQ(socket.Next(), "STOPPING=1");
}

TEST(MiddlewareWatchdog, IsServedFromTheLoop) {
  const test::TemporaryDirectory directory;
  setenv("CFM_RUNTIME_DIR", directory.Path().c_str(), 1);
  setenv("WATCHDOG_USEC", "20000", 1);
  const NotifySocket socket(directory.Path() / "notify");
  velmw_t* handle = velmw_init("cfm-app");
  while (!socket.Next().empty()) {
    // Sent before the loop ran.
  }
  bool run = true;
  sd_event_add_io(
      velmw::EventLoop(handle), nullptr, socket.Fd(), EPOLLIN,
      [](sd_event_source*, int, std::uint32_t, void* flag) {
        *static_cast<bool*>(flag) = false;
        return 0;
      },
      &run);
  EXPECT_EQ(velmw_loop_while(handle, &run), 0);
  EXPECT_EQ(socket.Next(), "WATCHDOG=1");
  velmw_finish(&handle);
  unsetenv("WATCHDOG_USEC");
  unsetenv("CFM_RUNTIME_DIR");
}

}  // namespace
