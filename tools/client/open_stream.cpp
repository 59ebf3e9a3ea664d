#include "open_stream.h"

#include <fmt/format.h>

#include <system_error>

#include "connect.h"
#include "core/failure.h"

namespace cfmctl {
namespace {

std::string Advice(const std::error_code& code, std::string_view program) {
  if (code == std::errc::permission_denied) {
    return fmt::format("be root, the user of {0} or a member of its group", program);
  }
  if (code == std::errc::filename_too_long) {
    return "choose a shorter runtime directory";
  }
  return fmt::format("is {} running?", program);
}

}  // namespace

std::string ReachAdvice(const std::error_code& code, std::string_view program) {
  return Advice(code, program) + " (CFM_RUNTIME_DIR or --runtime-dir selects another element)";
}

double Seconds(std::chrono::milliseconds time) {
  return static_cast<double>(time.count()) / 1000;
}

FrameStream OpenStream(const Listener& listener) {
  try {
    return FrameStream(ipc::ConnectUnix(listener.socket), listener.timeout);
  } catch (const std::system_error& error) {
    throw Failure(
        ExitStatus::kUnreachable,
        fmt::format("cannot reach the {} at {}: {}; {}", listener.role, listener.socket.native(),
                    error.code().message(), ReachAdvice(error.code(), listener.program)));
  }
}

void Greet(FrameStream& stream, const Listener& listener,
           const google::protobuf::MessageLite& hello, google::protobuf::MessageLite& welcome) {
  const std::string who = fmt::format("the {} at {}", listener.role, listener.socket.native());
  FrameStream::Outcome outcome{};
  try {
    stream.Send(hello);
    outcome = stream.Receive(welcome, Deadline::After(listener.timeout));
  } catch (const std::exception& error) {
    throw Failure(ExitStatus::kUnreachable,
                  fmt::format("{} does not welcome us: {}", who, error.what()));
  }
  if (outcome == FrameStream::Outcome::kTimedOut) {
    throw Failure(ExitStatus::kTimedOut,
                  fmt::format("{} did not answer within {} s", who, Seconds(listener.timeout)));
  }
  if (outcome == FrameStream::Outcome::kClosed) {
    throw Failure(ExitStatus::kUnreachable, fmt::format("{} closed the connection at once", who));
  }
}

void CheckWelcome(const Listener& listener, const std::string& error) {
  if (!error.empty()) {
    throw Failure(ExitStatus::kRefused,
                  fmt::format("the {} at {} refused the connection: {}", listener.role,
                              listener.socket.native(), error));
  }
}

}  // namespace cfmctl
