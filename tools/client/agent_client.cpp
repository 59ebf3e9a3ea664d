#include "agent_client.h"

#include <fmt/format.h>

#include <system_error>

#include "error_lines.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;

constexpr std::uint32_t kProtocolVersion = 1;

[[noreturn]] void FailUnknownOutcome(ExitStatus status, const std::string& cause,
                                     std::uint64_t known_txid) {
  throw Failure(
      status, fmt::format("{}: whether the commit took place is unknown", cause),
      {fmt::format("the transaction before it was {}: once the agent answers, \"cfmctl status\" "
                   "shows a higher one if a commit that changes a value took place",
                   known_txid),
       "\"cfmctl get\" shows what is committed"});
}

}  // namespace

AgentClient::AgentClient(const std::filesystem::path& socket, std::chrono::milliseconds timeout)
    : listener_{"agent", "agentd", socket, timeout}, stream_(OpenStream(listener_)) {
  agent::Hello hello;
  hello.set_version(kProtocolVersion);
  hello.set_role(agent::ROLE_FRONT_END);
  hello.set_name("cfmctl");
  Greet<agent::HelloReply>(stream_, listener_, hello);
}

agent::Reply AgentClient::Ask(const agent::Request& request) {
  return Exchange(request, Effect::kNone, 0);
}

agent::Reply AgentClient::Commit(const agent::Request& request) {
  return Exchange(request, Effect::kCommit, TransactionId());
}

std::uint64_t AgentClient::TransactionId() {
  agent::Request request;
  request.mutable_get_status();
  return Ask(request).status().txid();
}

agent::Reply AgentClient::Exchange(const agent::Request& request, Effect effect,
                                   std::uint64_t known_txid) {
  const auto fail = [&](ExitStatus status, const std::string& cause) {
    if (effect == Effect::kCommit) {
      FailUnknownOutcome(status, cause, known_txid);
    }
    throw Failure(status, cause);
  };
  agent::FromAgent answer;
  FrameStream::Outcome outcome{};
  try {
    stream_.Send(request);
    outcome = stream_.Receive(answer, Deadline::After(listener_.timeout));
  } catch (const std::exception& error) {
    fail(ExitStatus::kUnreachable,
         fmt::format("the connection with the agent broke: {}", error.what()));
  }
  if (outcome == FrameStream::Outcome::kClosed) {
    fail(ExitStatus::kUnreachable, "the agent went away before it answered");
  }
  if (outcome == FrameStream::Outcome::kTimedOut) {
    fail(ExitStatus::kTimedOut,
         fmt::format("the agent did not answer within {} s", Seconds(listener_.timeout)));
  }
  if (!answer.has_reply()) {
    fail(ExitStatus::kUnreachable, "the agent sent what is no reply");
  }
  return answer.reply();
}

void AgentClient::WatchStatus() {
  agent::Request request;
  request.mutable_watch_status();
  Watch(request);
}

void AgentClient::WatchOperational(const std::string& path) {
  agent::Request request;
  request.mutable_watch_operational()->set_path(path);
  Watch(request);
}

void AgentClient::Watch(const agent::Request& request) {
  try {
    stream_.Send(request);
  } catch (const std::system_error& error) {
    throw Failure(ExitStatus::kUnreachable,
                  fmt::format("the connection with the agent broke: {}", error.what()));
  }
}

std::optional<agent::Status> AgentClient::NextStatus(const Deadline& deadline) {
  const auto reply = NextReply(deadline);
  if (reply && !reply->errors().empty()) {
    throw Failure(ExitStatus::kUnreachable, "the agent has ended the watch", ErrorLines(*reply));
  }
  return reply ? std::optional(reply->status()) : std::nullopt;
}

std::optional<agent::Reply> AgentClient::NextReply(const Deadline& deadline) {
  agent::FromAgent message;
  FrameStream::Outcome outcome{};
  try {
    outcome = stream_.Receive(message, deadline);
  } catch (const std::exception& error) {
    throw Failure(ExitStatus::kUnreachable,
                  fmt::format("the connection with the agent broke: {}", error.what()));
  }
  if (outcome == FrameStream::Outcome::kClosed) {
    throw Failure(ExitStatus::kUnreachable, "the agent went away");
  }
  if (outcome == FrameStream::Outcome::kTimedOut) {
    return std::nullopt;
  }
  return message.reply();
}

}  // namespace cfmctl
