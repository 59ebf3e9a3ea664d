#include "agent_client.h"

#include <fmt/format.h>

#include <system_error>

#include "error_lines.h"
#include "open_stream.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;

constexpr std::uint32_t kProtocolVersion = 1;

double Seconds(std::chrono::milliseconds time) {
  return static_cast<double>(time.count()) / 1000;
}

[[noreturn]] void FailUnknownOutcome(ExitStatus status, const std::string& cause,
                                     std::uint64_t known_txid) {
  throw Failure(
      status, fmt::format("{}: whether the commit took place is unknown", cause),
      {fmt::format("the transaction before it was {}: once the agent answers, \"cfmctl status\" "
                   "shows a higher one if a commit took place",
                   known_txid),
       "\"cfmctl get\" shows what is committed"});
}

}  // namespace

AgentClient::AgentClient(const std::filesystem::path& socket, std::chrono::milliseconds timeout)
    : socket_(socket), timeout_(timeout), stream_(OpenStream(socket, timeout, "agent", "agentd")) {
  Greet();
}

void AgentClient::Greet() {
  agent::Hello hello;
  hello.set_version(kProtocolVersion);
  hello.set_role(agent::ROLE_FRONT_END);
  hello.set_name("cfmctl");
  agent::HelloReply welcome;
  FrameStream::Outcome outcome{};
  try {
    stream_.Send(hello);
    outcome = stream_.Receive(welcome, Deadline::After(timeout_));
  } catch (const std::exception& error) {
    throw Failure(ExitStatus::kUnreachable, fmt::format("the agent at {} does not welcome us: {}",
                                                        socket_.native(), error.what()));
  }
  if (outcome == FrameStream::Outcome::kTimedOut) {
    throw Failure(ExitStatus::kTimedOut, fmt::format("the agent at {} did not answer within {} s",
                                                     socket_.native(), Seconds(timeout_)));
  }
  if (outcome == FrameStream::Outcome::kClosed) {
    throw Failure(ExitStatus::kUnreachable,
                  fmt::format("the agent at {} closed the connection at once", socket_.native()));
  }
  if (!welcome.error().empty()) {
    throw Failure(ExitStatus::kRefused, fmt::format("the agent at {} refused the connection: {}",
                                                    socket_.native(), welcome.error()));
  }
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
    outcome = stream_.Receive(answer, Deadline::After(timeout_));
  } catch (const std::exception& error) {
    fail(ExitStatus::kUnreachable,
         fmt::format("the connection with the agent broke: {}", error.what()));
  }
  if (outcome == FrameStream::Outcome::kClosed) {
    fail(ExitStatus::kUnreachable, "the agent went away before it answered");
  }
  if (outcome == FrameStream::Outcome::kTimedOut) {
    fail(ExitStatus::kTimedOut,
         fmt::format("the agent did not answer within {} s", Seconds(timeout_)));
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
