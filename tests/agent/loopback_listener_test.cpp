#include "loopback_listener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <stdexcept>
#include <system_error>
#include <vector>

#include "loop.h"

namespace agentd::test {
namespace {

// A port that is free now, and a way to it.
class Port {
 public:
  Port() {
    const ipc::UniqueFd fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address_);
    auto* address = reinterpret_cast<sockaddr*>(&address_);
    if (bind(fd.Get(), address, size) != 0 || getsockname(fd.Get(), address, &size) != 0) {
      throw std::system_error(errno, std::system_category(), "find a free port");
    }
  }
  std::uint16_t Number() const { return ntohs(address_.sin_port); }
  ipc::UniqueFd Connect() const {
    ipc::UniqueFd fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience{.tv_sec = 30, .tv_usec = 0};
    setsockopt(fd.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    if (connect(fd.Get(), reinterpret_cast<const sockaddr*>(&address_), sizeof(address_)) != 0) {
      throw std::system_error(errno, std::system_category(), "connect");
    }
    return fd;
  }

 private:
  sockaddr_in address_{};
};

TEST(LoopbackListener, TurnsAPeerAwayWhenDescriptorsRunOut) {
  Loop loop;
  const Port port;
  int accepted = 0;
  const LoopbackListener listener(loop.Get(), port.Number(), 0,
                                  [&accepted](ipc::UniqueFd) { ++accepted; });
  const ipc::UniqueFd client = port.Connect();
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few{.rlim_cur = 64, .rlim_max = before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  std::vector<ipc::UniqueFd> fill;
  do {
    fill.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
  } while (fill.back());
  int turns = 0;
  while (turns < 10 && sd_event_run(loop.Get(), 0) > 0) {
    ++turns;
  }
  EXPECT_EQ(turns, 1) << "the waiting connection wakes the loop again and again";
  fill.clear();
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(accepted, 0);
  char byte = 0;
  EXPECT_EQ(recv(client.Get(), &byte, 1, 0), 0);
  const ipc::UniqueFd next = port.Connect();
  EXPECT_TRUE(loop.RunUntil([&accepted] { return accepted == 1; }));
}

TEST(LoopbackListener, OutlivesAConnectionThatCannotBeServed) {
  Loop loop;
  const Port port;
  int calls = 0;
  const LoopbackListener listener(loop.Get(), port.Number(), 0, [&calls](ipc::UniqueFd) {
    if (++calls == 1) {
      throw std::runtime_error("no room");
    }
  });
  const ipc::UniqueFd first = port.Connect();
  const ipc::UniqueFd second = port.Connect();
  EXPECT_TRUE(loop.RunUntil([&calls] { return calls == 2; }));
}

}  // namespace
}  // namespace agentd::test
