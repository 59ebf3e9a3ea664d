#include "manager_observer.h"

#include <fmt/format.h>

#include "core/failure.h"
#include "hierarchy_codec.h"
#include "manager.pb.h"
#include "open_stream.h"

namespace cfmctl {
namespace {

namespace manager = cfm::manager;

constexpr std::uint32_t kProtocolVersion = 1;

}  // namespace

ManagerObserver::ManagerObserver(const std::filesystem::path& socket,
                                 std::chrono::milliseconds timeout)
    : socket_(socket), stream_(OpenStream(socket, timeout, "CFM manager", "cfm-managerd")) {
  Greet(timeout);
}

void ManagerObserver::Greet(std::chrono::milliseconds timeout) {
  manager::Hello hello;
  hello.set_version(kProtocolVersion);
  hello.set_role(manager::ROLE_OBSERVE);
  hello.set_name("cfmctl");
  manager::HelloReply welcome;
  FrameStream::Outcome outcome{};
  try {
    stream_.Send(hello);
    outcome = stream_.Receive(welcome, Deadline::After(timeout));
  } catch (const std::exception& error) {
    throw Failure(ExitStatus::kUnreachable,
                  fmt::format("the CFM manager at {} does not welcome us: {}", socket_.native(),
                              error.what()));
  }
  if (outcome == FrameStream::Outcome::kTimedOut) {
    throw Failure(ExitStatus::kTimedOut,
                  fmt::format("the CFM manager at {} did not answer", socket_.native()));
  }
  if (outcome == FrameStream::Outcome::kClosed) {
    throw Failure(
        ExitStatus::kUnreachable,
        fmt::format("the CFM manager at {} closed the connection at once", socket_.native()));
  }
  if (!welcome.error().empty()) {
    throw Failure(ExitStatus::kRefused,
                  fmt::format("the CFM manager at {} refused the connection: {}", socket_.native(),
                              welcome.error()));
  }
}

std::optional<HeldHierarchy> ManagerObserver::Next(const Deadline& deadline) {
  try {
    while (true) {
      manager::FromManager message;
      switch (stream_.Receive(message, deadline)) {
        case FrameStream::Outcome::kTimedOut:
          return std::nullopt;
        case FrameStream::Outcome::kClosed:
          throw Failure(ExitStatus::kUnreachable, "the CFM manager went away");
        case FrameStream::Outcome::kMessage:
          break;
      }
      if (message.has_configuration()) {
        return HeldHierarchy{message.configuration().number(),
                             cfm::DecodeHierarchy(message.configuration())};
      }
      const auto& warnings = message.applied().warnings();
      warnings_.assign(warnings.begin(), warnings.end());
    }
  } catch (const ipc::ProtocolError& error) {
    throw Failure(ExitStatus::kRefused,
                  fmt::format("the CFM manager at {} holds what cannot be understood: {}",
                              socket_.native(), error.what()));
  }
}

}  // namespace cfmctl
