// What an operator does to an element, one operation at a time.
#ifndef TESTS_SURVIVAL_OPERATIONS_H
#define TESTS_SURVIVAL_OPERATIONS_H

#include <agent.pb.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "context.h"
#include "front_end.h"

namespace survival {

enum class Kind { kCommit, kCandidateCommit, kRead, kReadCounters, kClear };
const char* NameOf(Kind kind);

// Of a commit that somebody missed.
inline constexpr const char* kDoneWithWarning = "done with a warning";

// Whether the daemon takes over a commit that is made now.
class Hearing {
 public:
  // Nobody hears.
  Hearing() = default;
  Hearing(Supervisor& supervisor, Node& node);
  // It was subscribed then, and not lost to the agent since.
  bool Holds(const Node& node) const;

 private:
  bool is_subscribed_ = false;
  int agent_losses_ = 0;
};

// A commit is under way for as long as this lives.
class OpenCommit {
 public:
  explicit OpenCommit(Node& node) : node_(node) { ++node_.open_commits; }
  ~OpenCommit() { --node_.open_commits; }
  OpenCommit(const OpenCommit&) = delete;
  OpenCommit& operator=(const OpenCommit&) = delete;

 private:
  Node& node_;
};

// An operation over the front-end protocol whose reply is awaited apart from
// its request, so that something can happen in between.
class InFlight {
 public:
  // Connects and does what comes before the request. The commits are random
  // and valid.
  InFlight(Context& context, Node& node, Kind kind);
  // Whoever does not wait for the outcome of a commit does not know it.
  ~InFlight();
  InFlight(const InFlight&) = delete;
  InFlight& operator=(const InFlight&) = delete;

  bool IsCommit() const;
  void Send();
  int Fd() const { return front_end_.Fd(); }
  // Whether the reply has begun to come, or the connection has ended.
  bool HasReply() const;
  // Waits for the reply, takes the outcome into the model, and tells it.
  // Throws Failure when the operation fails and nothing that happened to the
  // node excuses that.
  std::string Finish();

 private:
  void PrepareCandidate(cfm::agent::Edit edit);
  void Prepare(const cfm::agent::Request& request);
  std::string FinishCommit(const cfm::agent::Reply& reply);
  std::string FinishRead(const cfm::agent::Reply& reply);
  std::string LoseReply();

  Context& context_;
  Node& node_;
  Kind kind_;
  test::FrontEnd front_end_;
  cfm::agent::Request request_;
  std::optional<test::RandomConfiguration> after_;  // of a commit
  Hearing hearing_;                                 // of a commit
  std::optional<OpenCommit> open_commit_;
  bool is_open_ = false;  // sent, and the outcome is not known
};

// `cfmctl edit`; nothing when the edit has documents.
std::optional<std::vector<std::string>> EditCommand(const cfm::agent::Edit& edit);

// Throws Failure when an operation that has to succeed was excused too often.
void CheckThatMostSucceeded(const Report& report);

// One, from its begin to its end. Tells the outcome, as InFlight::Finish.
std::string Perform(Context& context, Node& node, Kind kind);

// The exit status of a cfmctl. Throws Failure when there is none.
int AwaitEnd(Context& context, test::Process& command, const std::string& name);

// A random valid commit with cfmctl.
void CommitByCommand(Context& context, Node& node);

}  // namespace survival

#endif
