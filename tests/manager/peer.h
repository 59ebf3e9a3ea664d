// A client of the manager that waits for what it asks for.
#ifndef TESTS_MANAGER_PEER_H
#define TESTS_MANAGER_PEER_H

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "cfm/hierarchy.h"
#include "connect.h"
#include "frame.h"
#include "hierarchy_codec.h"
#include "manager.pb.h"
#include "process.h"

namespace test {

class Peer {
 public:
  explicit Peer(const std::filesystem::path& socket) : socket_(ipc::ConnectUnix(socket)) {
    const timeval patience{.tv_sec = kPatience.count(), .tv_usec = 0};
    setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(socket_.Get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  }

  static constexpr bool kAppliedOnly = true;

  void SayHello(std::uint32_t version, int role, const std::string& name,
                bool applied_only = false) {
    cfm::manager::Hello hello;
    hello.set_version(version);
    hello.set_role(static_cast<cfm::manager::Role>(role));
    hello.set_name(name);
    hello.set_applied_only(applied_only);
    ipc::SendFrame(socket_.Get(), hello);
  }
  // What the manager says to the Hello; empty when the peer is welcome.
  std::string HelloError() {
    cfm::manager::HelloReply reply;
    EXPECT_TRUE(ipc::ReceiveFrame(socket_.Get(), reply));
    return reply.error();
  }
  void SendBytes(const std::string& bytes) {
    ASSERT_EQ(send(socket_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  void EndSending() { shutdown(socket_.Get(), SHUT_WR); }
  void Send(const cfm::manager::FromClient& message) { ipc::SendFrame(socket_.Get(), message); }
  void RequestStatistics(std::uint64_t number) {
    cfm::manager::FromClient message;
    message.mutable_request_statistics()->set_number(number);
    Send(message);
  }
  void SendConfiguration(std::uint64_t number, const cfm::Hierarchy& hierarchy) {
    cfm::manager::FromClient message;
    message.mutable_configuration()->set_number(number);
    cfm::EncodeHierarchy(hierarchy, *message.mutable_configuration());
    ipc::SendFrame(socket_.Get(), message);
  }
  cfm::manager::FromManager Receive() {
    cfm::manager::FromManager message;
    EXPECT_TRUE(ipc::ReceiveFrame(socket_.Get(), message));
    return message;
  }
  // The next message for which `wanted` holds; those before it are dropped.
  // None when the manager says nothing more for kPatience.
  template <typename Wanted>
  std::optional<cfm::manager::FromManager> Await(Wanted wanted) {
    cfm::manager::FromManager message;
    try {
      while (ipc::ReceiveFrame(socket_.Get(), message)) {
        if (wanted(message)) {
          return message;
        }
      }
    } catch (const std::system_error& error) {
      ADD_FAILURE() << error.what();
    }
    return std::nullopt;
  }
  cfm::manager::Applied ReceiveApplied() {
    const auto message = Await([](const auto& each) { return each.has_applied(); });
    return message ? message->applied() : cfm::manager::Applied();
  }
  // Whether the manager closes the connection, after what it had to say.
  bool IsClosed() {
    std::array<char, 4096> bytes;
    ssize_t count = 0;
    do {
      count = recv(socket_.Get(), bytes.data(), bytes.size(), 0);
    } while (count > 0);
    return count == 0 || errno == ECONNRESET;
  }

 private:
  ipc::UniqueFd socket_;
};

}  // namespace test

#endif
