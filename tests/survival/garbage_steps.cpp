// Peers that send what is no frame, half of one, or leave.

#include <agent.pb.h>
#include <fmt/format.h>
#include <manager.pb.h>
#include <sys/socket.h>

#include <array>

#include "connect.h"
#include "frame.h"
#include "garbage.h"
#include "impostor.h"
#include "operations.h"
#include "steps.h"
#include "unix_address.h"
#include "views.h"

namespace survival {
namespace {

constexpr std::size_t kMostHanging = 8;

Outcome SendToWire(Context& context) {
  const int wire = context.chance.Below(kPorts);
  const ipc::UniqueFd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const ipc::UnixAddress address(context.wires.PathOf(wire));
  const std::string greeting = context.chance.OneIn(2) ? "cfm wire 1" : "";
  const std::string noise = Noise(context.chance);
  if (connect(socket.Get(), address.Get(), address.Size()) != 0) {
    context.Say("the wire takes no third end");
    context.report.Count("garbage on a wire that took no third end");
    return {.is_void = true};
  }
  for (const std::string& packet : {greeting, noise}) {
    if (!packet.empty()) {
      SendBytes(socket.Get(), packet);
    }
  }
  context.Say(fmt::format("noise on wire {}{}", wire, greeting.empty() ? "" : ", greeted"));
  return {.fault = "garbage on a wire", .over = Clock::now(), .await_link = true};
}

// What a peer says that it is, to whom.
struct Greeting {
  const char* name;
  Part part;
  int role;
};

constexpr std::array kGreetings = {
    Greeting{"a data connection", Part::kAgent, cfm::agent::ROLE_CDB_DATA},
    Greeting{"a subscriber", Part::kAgent, cfm::agent::ROLE_CDB_SUBSCRIPTION},
    Greeting{"a front end", Part::kAgent, cfm::agent::ROLE_FRONT_END},
    Greeting{"a reader of the schema", Part::kAgent, cfm::agent::ROLE_SCHEMA},
    Greeting{"a data provider", Part::kAgent, cfm::agent::ROLE_CONTROL},
    Greeting{"a data provider's worker", Part::kAgent, cfm::agent::ROLE_WORKER},
    Greeting{"an observer", Part::kManager, cfm::manager::ROLE_OBSERVE},
    Greeting{"a configurer", Part::kManager, cfm::manager::ROLE_CONFIGURE},
};

// A connection that was welcomed, in the words of its socket.
template <typename Hello, typename Reply>
Reply Introduce(Context& context, int socket, Hello hello) {
  hello.set_version(1);
  hello.set_name("survival");
  ipc::SendFrame(socket, hello);
  context.supervisor.AwaitReadable(socket, "a welcome");
  Reply reply;
  if (!ipc::ReceiveFrame(socket, reply) || !reply.error().empty()) {
    throw std::runtime_error("a peer was not welcome: " + reply.error());
  }
  return reply;
}

std::uint64_t IntroduceToAgent(Context& context, int socket, int role, std::uint64_t provider) {
  cfm::agent::Hello hello;
  hello.set_role(static_cast<cfm::agent::Role>(role));
  hello.set_provider(provider);
  return Introduce<cfm::agent::Hello, cfm::agent::HelloReply>(context, socket, hello).provider();
}

void IntroduceToManager(Context& context, int socket, int role) {
  cfm::manager::Hello hello;
  hello.set_role(static_cast<cfm::manager::Role>(role));
  Introduce<cfm::manager::Hello, cfm::manager::HelloReply>(context, socket, hello);
}

// Welcome peers that then turn out to be none: all garbage, one connection for
// each.
Outcome SendBehindGreeting(Context& context) {
  const Greeting& greeting = context.chance.Pick(kGreetings);
  if (greeting.role == cfm::manager::ROLE_CONFIGURE && greeting.part == Part::kManager) {
    // cfm-app loses the manager to it.
    context.supervisor.Disturb(context.node, Part::kManager);
  }
  const auto begin = Clock::now();
  for (const Garbage& garbage : AllGarbage(context.chance)) {
    const ipc::UniqueFd socket = ipc::ConnectUnix(context.node.SocketOf(greeting.part));
    ipc::UniqueFd control;
    if (greeting.part == Part::kManager) {
      IntroduceToManager(context, socket.Get(), greeting.role);
    } else {
      std::uint64_t provider = 0;
      if (greeting.role == cfm::agent::ROLE_WORKER) {
        control = ipc::ConnectUnix(context.node.SocketOf(greeting.part));
        provider = IntroduceToAgent(context, control.Get(), cfm::agent::ROLE_CONTROL, 0);
      }
      IntroduceToAgent(context, socket.Get(), greeting.role, provider);
    }
    SendBytes(socket.Get(), garbage.bytes);
    AwaitClose(context.supervisor, socket.Get(), garbage.name);
  }
  context.Say(fmt::format("{} sends garbage to {}", greeting.name, NameOf(greeting.part)));
  context.report.Count(std::string("garbage behind the greeting of ") + greeting.name);
  context.report.Detected("garbage behind a greeting", Clock::now() - begin);
  return {.fault = "garbage behind a greeting", .over = Clock::now()};
}

Outcome SendToSocket(Context& context, Part part) {
  const auto all = AllGarbage(context.chance);
  const Garbage& garbage = context.chance.Pick(all);
  const auto begin = Clock::now();
  const ipc::UniqueFd socket = ipc::ConnectUnix(context.node.SocketOf(part));
  SendBytes(socket.Get(), garbage.bytes);
  AwaitClose(context.supervisor, socket.Get(), garbage.name);
  context.Say(fmt::format("{} to {}", garbage.name, NameOf(part)));
  context.report.Detected("garbage on a socket", Clock::now() - begin);
  return {.fault = "garbage on a socket", .over = Clock::now()};
}

Outcome LeaveHalfAFrame(Context& context, Part part) {
  ipc::UniqueFd socket = ipc::ConnectUnix(context.node.SocketOf(part));
  SendBytes(socket.Get(), Frame(1000, "half"));
  if (context.hanging.size() == kMostHanging) {
    context.hanging.erase(context.hanging.begin());
  }
  context.hanging.push_back(std::move(socket));
  context.Say(fmt::format("half a frame to {}, and silence", NameOf(part)));
  return {.fault = "half a frame left hanging", .over = Clock::now()};
}

}  // namespace

Outcome SendGarbage(Context& context) {
  const Part part = context.chance.OneIn(2) ? Part::kAgent : Part::kManager;
  switch (context.chance.Below(5)) {
    case 0:
      return SendToWire(context);
    case 1:
      return LeaveHalfAFrame(context, part);
    case 2:
      return SendBehindGreeting(context);
    case 3:
      return SendToDaemon(context, part);
    default:
      return SendToSocket(context, part);
  }
}

// A local connection that is closed with data unread is reset.
Outcome LeaveConnections(Context& context) {
  const int count = 1 + context.chance.Below(20);
  int resets = 0;
  for (int i = 0; i < count; ++i) {
    InFlight abandoned(context, context.node, i % 4 == 0 ? Kind::kReadCounters : Kind::kRead);
    abandoned.Send();
    const ManagerView observer(context.supervisor, context.node);
    if (context.chance.OneIn(2)) {
      context.supervisor.AwaitReadable(abandoned.Fd(), "the answer to a read");
      context.supervisor.AwaitReadable(observer.Fd(), "what the manager shows");
      ++resets;
    }
  }
  context.Say(fmt::format("{} connections left in a read, {} reset", count, resets));
  return {.fault = resets > 0 ? "connections closed and reset" : "connections closed",
          .over = Clock::now()};
}

}  // namespace survival
