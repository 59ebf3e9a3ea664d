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

FrameStream OpenStream(const std::filesystem::path& socket, std::chrono::milliseconds timeout,
                       std::string_view role, std::string_view program) {
  try {
    return FrameStream(ipc::ConnectUnix(socket), timeout);
  } catch (const std::system_error& error) {
    throw Failure(ExitStatus::kUnreachable,
                  fmt::format("cannot reach the {} at {}: {}; {}", role, socket.native(),
                              error.code().message(), ReachAdvice(error.code(), program)));
  }
}

}  // namespace cfmctl
