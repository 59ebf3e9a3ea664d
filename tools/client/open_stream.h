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

// The process at the other end, as in "cannot reach the agent at PATH: CAUSE; is
// agentd running?".
struct Listener {
  std::string_view role;
  std::string_view program;
  std::filesystem::path socket;
  std::chrono::milliseconds timeout;  // for each answer
};

// For messages.
double Seconds(std::chrono::milliseconds time);

// Throws Failure kUnreachable.
FrameStream OpenStream(const Listener& listener);

// Sends the first message and takes the answer to it. Throws Failure kUnreachable
// or kTimedOut.
void Greet(FrameStream& stream, const Listener& listener,
           const google::protobuf::MessageLite& hello, google::protobuf::MessageLite& welcome);

// `error` is of the answer; empty: none. Throws Failure kRefused.
void CheckWelcome(const Listener& listener, const std::string& error);

// Both.
template <typename Welcome>
void Greet(FrameStream& stream, const Listener& listener,
           const google::protobuf::MessageLite& hello) {
  Welcome welcome;
  Greet(stream, listener, hello, welcome);
  CheckWelcome(listener, welcome.error());
}

}  // namespace cfmctl

#endif
