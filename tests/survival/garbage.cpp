// Peers that send what is no frame, half of one, or leave.

#include <arpa/inet.h>
#include <fmt/format.h>
#include <sys/socket.h>

#include <array>
#include <string>

#include "connect.h"
#include "failure.h"
#include "frame.h"
#include "operations.h"
#include "steps.h"
#include "unix_address.h"
#include "views.h"

namespace survival {
namespace {

constexpr std::size_t kMostHanging = 8;

std::string Frame(std::uint32_t length, const std::string& payload) {
  const std::uint32_t network = htonl(length);
  return std::string(reinterpret_cast<const char*>(&network), sizeof network) + payload;
}

std::string Noise(Chance& chance) {
  std::string noise(static_cast<std::size_t>(1 + chance.Below(5000)), '\0');
  for (char& byte : noise) {
    byte = static_cast<char>(chance.Number());
  }
  // As a length that is a frame's the beginning could make the peer wait for
  // the rest of it.
  noise[0] = '\xff';
  return noise;
}

void SendBytes(int socket, const std::string& bytes) {
  // A peer that has closed already has made up its mind; that is seen below.
  [[maybe_unused]] const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

// Until the peer has closed its side.
void AwaitClose(Context& context, int socket, const std::string& what) {
  char buffer[4096];
  do {
    context.supervisor.AwaitReadable(socket, "the end of a connection after " + what);
  } while (recv(socket, buffer, sizeof buffer, 0) > 0);
}

void SendToWire(Context& context) {
  const int wire = context.chance.Below(kPorts);
  const ipc::UniqueFd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const ipc::UnixAddress address(context.wires.PathOf(wire));
  if (connect(socket.Get(), address.Get(), address.Size()) != 0) {
    return context.Say("the wire takes no third end");
  }
  const std::string greeting = context.chance.OneIn(2) ? "cfm wire 1" : "";
  for (const std::string& packet : {greeting, Noise(context.chance)}) {
    if (!packet.empty()) {
      SendBytes(socket.Get(), packet);
    }
  }
  context.Say(fmt::format("noise on wire {}", wire));
}

// A welcome peer that then turns out to be none.
void SendAfterHello(Context& context) {
  test::FrontEnd front_end(context.node.Element().RuntimeDirectory());
  SendBytes(front_end.Fd(), Frame(5, "\xff\xff\xff\xff\xff"));
  AwaitClose(context, front_end.Fd(), "garbage behind a greeting");
  context.Say("garbage behind a greeting");
}

void SendToSocket(Context& context, Part part) {
  struct Attempt {
    const char* name;
    std::string bytes;
  };
  const std::array attempts = {
      Attempt{"noise", Noise(context.chance)},
      Attempt{"an oversized frame", Frame(0xffffffff, "x")},
      Attempt{"a frame that is no message", Frame(5, "\xff\xff\xff\xff\xff")},
      Attempt{"an empty frame", Frame(0, "")},
  };
  const Attempt& attempt = context.chance.Pick(attempts);
  const ipc::UniqueFd socket = ipc::ConnectUnix(context.node.SocketOf(part));
  SendBytes(socket.Get(), attempt.bytes);
  AwaitClose(context, socket.Get(), attempt.name);
  context.Say(fmt::format("{} to {}", attempt.name, NameOf(part)));
}

void LeaveHalfAFrame(Context& context, Part part) {
  ipc::UniqueFd socket = ipc::ConnectUnix(context.node.SocketOf(part));
  SendBytes(socket.Get(), Frame(1000, "half"));
  if (context.hanging.size() == kMostHanging) {
    context.hanging.erase(context.hanging.begin());
  }
  context.hanging.push_back(std::move(socket));
  context.Say(fmt::format("half a frame to {}, and silence", NameOf(part)));
}

}  // namespace

Outcome SendGarbage(Context& context) {
  const Part part = context.chance.OneIn(2) ? Part::kAgent : Part::kManager;
  std::string fault = "garbage on a socket";
  const auto begin = Clock::now();
  switch (context.chance.Below(4)) {
    case 0:
      SendToWire(context);
      return {.fault = "garbage on a wire", .over = Clock::now(), .await_link = true};
    case 1:
      LeaveHalfAFrame(context, part);
      return {.fault = "half a frame left hanging", .over = Clock::now()};
    case 2:
      SendAfterHello(context);
      break;
    default:
      SendToSocket(context, part);
  }
  context.report.Detected(fault, Clock::now() - begin);
  return {.fault = fault, .over = Clock::now()};
}

Outcome LeaveConnections(Context& context) {
  const int count = 1 + context.chance.Below(20);
  for (int i = 0; i < count; ++i) {
    InFlight abandoned(context, context.node, i % 4 == 0 ? Kind::kReadCounters : Kind::kRead);
    abandoned.Send();
    if (context.chance.OneIn(2)) {
      const linger at_once{.l_onoff = 1, .l_linger = 0};
      setsockopt(abandoned.Fd(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    }
    // A connection that is closed with data unread is reset.
    const ManagerView observer(context.supervisor, context.node);
  }
  context.Say(fmt::format("{} connections left in the middle of a read", count));
  return {.fault = "connections closed and reset", .over = Clock::now()};
}

}  // namespace survival
