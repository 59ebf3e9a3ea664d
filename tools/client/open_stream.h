// Connections that say what to do when they fail.
#ifndef TOOLS_CLIENT_OPEN_STREAM_H
#define TOOLS_CLIENT_OPEN_STREAM_H

#include <chrono>
#include <filesystem>
#include <string_view>

#include "frame_stream.h"

namespace cfmctl {

// `role` and `program` as in "cannot reach the agent at PATH: CAUSE; is agentd
// running?". Throws Failure kUnreachable.
FrameStream OpenStream(const std::filesystem::path& socket, std::chrono::milliseconds timeout,
                       std::string_view role, std::string_view program);

}  // namespace cfmctl

#endif
