#include "agent_line.h"

#include <stdexcept>
#include <utility>

#include "await.h"
#include "connect.h"
#include "frame.h"

namespace bench {

AgentLine::AgentLine(Loop& loop, const std::filesystem::path& runtime_directory)
    : loop_(loop),
      channel_(
          loop.Get(), ipc::ConnectUnix(runtime_directory / "agentd.sock"), SD_EVENT_PRIORITY_NORMAL,
          [this](std::string_view payload) { Take(payload); },
          [this](const std::string& reason) { end_ = "the agent's connection ended: " + reason; }) {
  cfm::agent::Hello hello;
  hello.set_version(1);
  hello.set_role(cfm::agent::ROLE_FRONT_END);
  hello.set_name("cfm_bench");
  channel_.Send(hello);
  Await(
      loop_, [this] { return welcome_ || !end_.empty(); }, "the agent's welcome");
  if (!end_.empty()) {
    throw std::runtime_error(end_);
  }
}

void AgentLine::Take(std::string_view payload) {
  const Clock::time_point now = Clock::now();
  if (!welcome_) {
    cfm::agent::HelloReply reply;
    ipc::ParsePayload(payload, reply);
    if (!reply.error().empty()) {
      throw ipc::ProtocolError(reply.error());
    }
    welcome_ = true;
    return;
  }
  cfm::agent::FromAgent message;
  ipc::ParsePayload(payload, message);
  if (!message.has_reply()) {
    throw ipc::ProtocolError("a message that is not for a front end");
  }
  if (on_reply_) {
    return on_reply_(message.reply());
  }
  replied_ = now;
  reply_ = std::move(*message.mutable_reply());
}

void AgentLine::Send(const cfm::agent::Request& request) {
  reply_.reset();
  channel_.Send(request);
}

Clock::time_point AgentLine::TakeReply(cfm::agent::Reply* reply) {
  const cfm::agent::Reply taken = std::exchange(reply_, std::nullopt).value();
  if (taken.errors_size() > 0) {
    throw std::runtime_error("the agent refuses: " + taken.errors(0).path() + ' ' +
                             taken.errors(0).message());
  }
  if (taken.warnings_size() > 0) {
    throw std::runtime_error("the agent warns: " + taken.warnings(0));
  }
  if (reply != nullptr) {
    *reply = taken;
  }
  return replied_;
}

cfm::agent::Reply AgentLine::Call(const cfm::agent::Request& request) {
  Send(request);
  Await(
      loop_, [this] { return HasReply() || !end_.empty(); }, "the agent's reply");
  if (!end_.empty()) {
    throw std::runtime_error(end_);
  }
  cfm::agent::Reply reply;
  TakeReply(&reply);
  return reply;
}

}  // namespace bench
