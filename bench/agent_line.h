// A front end's connection with the agent in the benchmark's loop.
#ifndef BENCH_AGENT_LINE_H
#define BENCH_AGENT_LINE_H

#include <agent.pb.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "channel.h"
#include "clock.h"
#include "loop.h"

namespace bench {

class AgentLine {
 public:
  // Connects and is welcomed. Throws std::system_error, std::runtime_error.
  AgentLine(Loop& loop, const std::filesystem::path& runtime_directory);

  // Sends a request; its reply is awaited while the loop runs.
  void Send(const cfm::agent::Request& request);
  bool HasReply() const { return reply_.has_value(); }
  // Of the reply that is there: when it came. Takes it. Throws
  // std::runtime_error when the agent refused, or warned.
  Clock::time_point TakeReply(cfm::agent::Reply* reply = nullptr);

  // Sends and awaits. Throws like TakeReply.
  cfm::agent::Reply Call(const cfm::agent::Request& request);

  // From now on replies are handed to `on_reply` as they come.
  void OnReply(std::function<void(const cfm::agent::Reply&)> on_reply) {
    on_reply_ = std::move(on_reply);
  }

 private:
  void Take(std::string_view payload);

  Loop& loop_;
  bool welcome_ = false;
  std::optional<cfm::agent::Reply> reply_;
  Clock::time_point replied_;
  std::function<void(const cfm::agent::Reply&)> on_reply_;
  std::string end_;  // why the connection is over
  ipc::Channel channel_;
};

}  // namespace bench

#endif
