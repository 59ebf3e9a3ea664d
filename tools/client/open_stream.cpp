#include "open_stream.h"

#include <fmt/format.h>

#include <system_error>

#include "connect.h"
#include "core/failure.h"

namespace cfmctl {

FrameStream OpenStream(const std::filesystem::path& socket, std::chrono::milliseconds timeout,
                       std::string_view role, std::string_view program) {
  try {
    return FrameStream(ipc::ConnectUnix(socket), timeout);
  } catch (const std::system_error& error) {
    throw Failure(ExitStatus::kUnreachable,
                  fmt::format("cannot reach the {} at {}: {}; is {} running? (CFM_RUNTIME_DIR or "
                              "--runtime-dir selects another element)",
                              role, socket.native(), error.code().message(), program));
  }
}

}  // namespace cfmctl
