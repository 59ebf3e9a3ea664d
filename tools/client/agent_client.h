// A front end's connection with the management agent.
#ifndef TOOLS_CLIENT_AGENT_CLIENT_H
#define TOOLS_CLIENT_AGENT_CLIENT_H

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "agent.pb.h"
#include "core/failure.h"
#include "open_stream.h"

namespace cfmctl {

class AgentClient {
 public:
  // Connects and is welcomed. Throws Failure: kUnreachable when there is no
  // agent, kRefused when it does not want us, kTimedOut.
  AgentClient(const std::filesystem::path& socket, std::chrono::milliseconds timeout);

  // One request that changes nothing in the running configuration. Refusals
  // come back in Reply.errors. Throws Failure kUnreachable or kTimedOut.
  cfm::agent::Reply Ask(const cfm::agent::Request& request);

  // One request that may commit. When there is no answer, the Failure says
  // that the outcome is unknown and how to find out.
  cfm::agent::Reply Commit(const cfm::agent::Request& request);

  // Begins to receive the status; NextStatus then waits for it, at first and
  // after each change. Nothing when the deadline passes. Ask and Commit must
  // not be used any more. Throws Failure when the agent goes away
  // or ends the watch.
  void WatchStatus();
  std::optional<cfm::agent::Status> NextStatus(const Deadline& deadline);
  // The same for the operational data below a path: the first reply is whole,
  // the others tell of changes.
  void WatchOperational(const std::string& path);
  std::optional<cfm::agent::Reply> NextReply(const Deadline& deadline);
  int Fd() const { return stream_.Fd(); }

 private:
  enum class Effect { kNone, kCommit };

  void Watch(const cfm::agent::Request& request);
  std::uint64_t TransactionId();
  cfm::agent::Reply Exchange(const cfm::agent::Request& request, Effect effect,
                             std::uint64_t known_txid);

  Listener listener_;
  FrameStream stream_;
};

}  // namespace cfmctl

#endif
