// Connections that say what to do when they fail.
#ifndef TOOLS_CLIENT_OPEN_STREAM_H
#define TOOLS_CLIENT_OPEN_STREAM_H

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "frame_stream.h"

namespace cfmctl {

// What to do about a failure to reach `program`, as in "is agentd running?
// (CFM_RUNTIME_DIR or --runtime-dir selects another element)".
std::string ReachAdvice(const std::error_code& code, std::string_view program);

// `role` and `program` as in "cannot reach the agent at PATH: CAUSE; is agentd
// running?". Throws Failure kUnreachable.
FrameStream OpenStream(const std::filesystem::path& socket, std::chrono::milliseconds timeout,
                       std::string_view role, std::string_view program);

}  // namespace cfmctl

#endif
