// What the processes show, each over a connection of its own.
#ifndef TESTS_SURVIVAL_VIEWS_H
#define TESTS_SURVIVAL_VIEWS_H

#include <agent.pb.h>

#include <map>
#include <optional>
#include <set>
#include <string>

#include "cfm/hierarchy.h"
#include "front_end.h"
#include "supervisor.h"

namespace survival {

// A request, and its reply while the supervisor keeps the processes running.
// Throws Failure when none comes, and what FrontEnd throws when the connection
// ends.
cfm::agent::Reply Ask(Supervisor& supervisor, test::FrontEnd& front_end,
                      const cfm::agent::Request& request);
// The next of the replies to a watch.
cfm::agent::Reply Next(Supervisor& supervisor, test::FrontEnd& front_end);

// Whether the process that is the node's daemon now is told of commits.
bool IsSubscribed(Supervisor& supervisor, Node& node);

// The agent's status, at each change.
class AgentView {
 public:
  AgentView(Supervisor& supervisor, Node& node);
  // Until the process that is the node's daemon now is subscribed and answers
  // for status, and no commit is under way.
  void AwaitDaemon();
  // False when the other thing comes first.
  bool AwaitCommitInProgress(const std::function<bool()>& or_else, int descriptor);

 private:
  Supervisor& supervisor_;
  Node& node_;
  test::FrontEnd front_end_;
};

// The names of the operational entries, with their leaves.
class RecordsView {
 public:
  RecordsView(Supervisor& supervisor, Node& node);
  // "local md ma 1" and "remote md ma 2".
  std::multiset<std::string> Names() const;
  // A leaf of that record; empty when it has none.
  std::string LeafOf(const std::string& name, const std::string& leaf) const;
  // One that a record of its list has to have, and does not; empty when there is
  // none.
  std::string MissingLeaf() const;
  // Waits until that holds. False after `patience`.
  bool AwaitUntil(const std::function<bool()>& done,
                  std::chrono::seconds patience = test::kPatience);
  int Fd() const { return front_end_.Fd(); }

 private:
  void Take(const cfm::agent::Reply& reply);

  Supervisor& supervisor_;
  test::FrontEnd front_end_;
  std::map<std::string, cfm::agent::Node> entries_;  // by path
};

// The hierarchy that the manager holds.
class ManagerView {
 public:
  ManagerView(Supervisor& supervisor, Node& node);
  // Waits until it is that; returns what it is when that takes too long.
  std::optional<cfm::Hierarchy> AwaitEqual(const cfm::Hierarchy& expected);
  int Fd() const { return socket_.Get(); }

 private:
  Supervisor& supervisor_;
  ipc::UniqueFd socket_;
};

}  // namespace survival

#endif
