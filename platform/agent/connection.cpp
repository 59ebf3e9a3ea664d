#include "connection.h"

#include <google/protobuf/arena.h>

#include <array>
#include <cstddef>

#include "ending.h"
#include "fail_point.h"
#include "frame.h"
#include "heartbeat.h"
#include "log.h"
#include "model.h"
#include "utf8.h"

namespace agentd {
namespace {

constexpr std::uint32_t kProtocolVersion = 1;
constexpr std::int64_t kEventPriority = 0;

// A name goes into log lines and tables: one short line of it.
std::string Presentable(const std::string& name) {
  constexpr std::size_t kLongest = 64;
  std::string text = WellFormed(std::string_view(name).substr(0, kLongest));
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') {
      c = '?';
    }
  }
  return text;
}

// The others take locks, write status or answer in the daemon's name.
bool IsForLooking(cfm::agent::Role role) {
  return role == cfm::agent::ROLE_FRONT_END || role == cfm::agent::ROLE_SCHEMA;
}

bool IsConfdRole(cfm::agent::Role role) {
  return role != cfm::agent::ROLE_FRONT_END;
}

}  // namespace

Connection::Connection(sd_event* loop, ipc::UniqueFd socket, std::uint64_t number, Who who,
                       Origin origin, const Services& services, Forget forget)
    : services_(services),
      forget_(std::move(forget)),
      number_(number),
      who_(std::move(who)),
      origin_(origin),
      channel_(
          loop, std::move(socket), kEventPriority,
          [this](std::string_view payload) { OnFrame(payload); },
          [this](const std::string& reason) { OnClosed(reason); }) {}

void Connection::Send(const cfm::agent::FromAgent& message) {
  channel_.Send(message);
  ++round_trips_;
}

void Connection::AddTo(cfm::agent::Status& status) const {
  if (role_ == nullptr || !IsConfdRole(kind_)) {
    return;
  }
  cfm::agent::ConnectionStatus& connection = *status.add_connections();
  connection.set_name(name_);
  connection.set_role(kind_);
  connection.set_pid(who_.pid);
  connection.set_round_trips(round_trips_);
}

bool Connection::IsAtWork() const {
  return (role_ != nullptr && role_->IsAtWork()) || QueuedBytes() > 0;
}

void Connection::GiveUp() {
  if (role_ != nullptr) {
    role_->GiveUp();
  }
}

bool Connection::KeepsWaiting(pid_t pid) const {
  return who_.pid == pid && role_ != nullptr && role_->HoldsAnswerBack();
}

bool Connection::IsCountedOn(pid_t pid) const {
  return who_.pid == pid && role_ != nullptr && role_->IsCountedOn();
}

void Connection::Drop(const std::string& reason) {
  AGENT_LOG_WARNING("connection of %s closed: %s", Describe().c_str(), reason.c_str());
  channel_.Close();
  forget_(number_);
}

void Connection::OnFrame(std::string_view payload) {
  if (role_ == nullptr) {
    cfm::agent::Hello hello;
    ipc::ParsePayload(payload, hello);
    OnHello(hello);
    return;
  }
  // Most requests fit the first block and take no memory of their own; those
  // of many parts take few large pieces.
  alignas(std::max_align_t) std::array<char, 2048> block;
  google::protobuf::Arena arena(block.data(), block.size());
  auto& request = *google::protobuf::Arena::CreateMessage<cfm::agent::Request>(&arena);
  ipc::ParsePayload(payload, request);
  if (IsConfdRole(kind_)) {
    services_.heartbeat.Heard(who_.pid);
  }
  role_->Handle(request);
}

std::string Connection::Objection(const cfm::agent::Hello& hello) const {
  if (hello.version() != kProtocolVersion) {
    return "agentd speaks version " + std::to_string(kProtocolVersion) +
           " of its protocol and the program speaks version " + std::to_string(hello.version()) +
           ": install matching versions";
  }
  if (origin_ == Origin::kLoopback && !IsConfdRole(hello.role())) {
    return "front ends connect to the local socket of agentd only";
  }
  if (services_.ending.HasBegun() && !IsConfdRole(hello.role())) {
    return kIsEnding;
  }
  if (!MayChange() && !IsForLooking(hello.role())) {
    return OnlyLooks(*this, "use the ConfD API");
  }
  return {};
}

void Connection::OnHello(const cfm::agent::Hello& hello) {
  CFM_FAIL_POINT(agent_hello_received);
  if (!hello.name().empty()) {
    name_ = Presentable(hello.name());
  }
  cfm::agent::HelloReply reply;
  reply.set_error(Objection(hello));
  std::shared_ptr<Role> role;
  if (reply.error().empty()) {
    auto made = MakeRole(hello, services_, *this);
    role = made ? *made : nullptr;
    reply.set_error(made ? "" : made.Why().front().message);
  }
  if (role != nullptr) {
    role->Welcome(reply);
    for (const auto& [tag, name] : services_.model.Names()) {
      auto* entry = reply.add_tags();
      entry->set_tag(tag);
      entry->set_name(name);
    }
  }
  channel_.Send(reply);
  if (role == nullptr) {
    throw ipc::ProtocolError("refused: " + reply.error());
  }
  role_ = std::move(role);
  kind_ = hello.role();
  CFM_FAIL_POINT(agent_hello_answered);
}

void Connection::OnClosed(const std::string& reason) {
  CFM_FAIL_POINT(agent_connection_lost);
  if (reason != "closed by the peer") {
    AGENT_LOG_WARNING("connection of %s closed: %s", Describe().c_str(), reason.c_str());
  }
  forget_(number_);
}

}  // namespace agentd
