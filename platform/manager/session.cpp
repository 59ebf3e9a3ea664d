#include "session.h"

#include <fmt/format.h>
#include <unistd.h>

#include <utility>

#include "fail_point.h"
#include "frame.h"
#include "node_name.h"

namespace cfm {
namespace {

constexpr std::uint32_t kProtocolVersion = 1;

// Throws ipc::ProtocolError for a peer that is not welcome.
manager::Hello ReadHello(std::string_view payload) {
  manager::Hello hello;
  ipc::ParsePayload(payload, hello);
  if (hello.version() != kProtocolVersion) {
    throw ipc::ProtocolError(
        fmt::format("version {} of the protocol is not spoken here, only {}: install client and "
                    "manager of one release",
                    hello.version(), kProtocolVersion));
  }
  if (hello.role() != manager::ROLE_CONFIGURE && hello.role() != manager::ROLE_OBSERVE) {
    throw ipc::ProtocolError(fmt::format("role {} is not known", static_cast<int>(hello.role())));
  }
  return hello;
}

}  // namespace

Session::Session(sd_event* loop, ipc::UniqueFd socket, const ipc::Peer& peer, ipc::Access access,
                 Handlers handlers)
    : peer_(peer),
      access_(access),
      handlers_(std::move(handlers)),
      channel_(
          loop, std::move(socket), SD_EVENT_PRIORITY_NORMAL,
          [this](std::string_view payload) { OnFrame(payload); },
          [this](const std::string& reason) { handlers_.on_end(*this, reason); }) {
  channel_.SetDrainHandler([this] { handlers_.on_drained(*this); });
}

std::string Session::Text() const {
  return fmt::format("{} (process {})", name_.empty() ? "a peer without a name" : name_, peer_.pid);
}

void Session::OnFrame(std::string_view payload) {
  if (role_ == manager::ROLE_UNSPECIFIED) {
    OnHello(payload);
  } else {
    OnMessage(payload);
  }
}

void Session::OnHello(std::string_view payload) {
  CFM_FAIL_POINT(manager_hello_received);
  manager::HelloReply reply;
  try {
    const manager::Hello hello = ReadHello(payload);
    if (access_ != ipc::Access::kFull && hello.role() != manager::ROLE_OBSERVE) {
      throw ipc::ProtocolError(
          fmt::format("user {} may observe, but not configure: become a member of group {}",
                      peer_.uid, ipc::GroupName(getegid())));
    }
    name_ = LogText(hello.name());
    role_ = hello.role();
    applied_only_ = hello.applied_only();
  } catch (const ipc::ProtocolError& error) {
    reply.set_error(error.what());
    channel_.Send(reply);
    throw;
  }
  channel_.Send(reply);
  CFM_FAIL_POINT(manager_hello_answered);
  handlers_.on_welcome(*this);
}

void Session::OnMessage(std::string_view payload) {
  manager::FromClient message;
  ipc::ParsePayload(payload, message);
  if (message.message_case() == manager::FromClient::MESSAGE_NOT_SET) {
    throw ipc::ProtocolError("a message of no known kind");
  }
  if (role_ != manager::ROLE_CONFIGURE) {
    throw ipc::ProtocolError("a request from a peer that may only observe");
  }
  handlers_.on_message(*this, message);
}

}  // namespace cfm
