#include "manager_observer.h"

#include <fmt/format.h>

#include "core/failure.h"
#include "hierarchy_codec.h"
#include "manager.pb.h"

namespace cfmctl {
namespace {

namespace manager = cfm::manager;

constexpr std::uint32_t kProtocolVersion = 1;

}  // namespace

ManagerObserver::ManagerObserver(const std::filesystem::path& socket,
                                 std::chrono::milliseconds timeout)
    : listener_{"CFM manager", "cfm-managerd", socket, timeout}, stream_(OpenStream(listener_)) {
  manager::Hello hello;
  hello.set_version(kProtocolVersion);
  hello.set_role(manager::ROLE_OBSERVE);
  hello.set_name("cfmctl");
  Greet<manager::HelloReply>(stream_, listener_, hello);
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
                              listener_.socket.native(), error.what()));
  }
}

}  // namespace cfmctl
