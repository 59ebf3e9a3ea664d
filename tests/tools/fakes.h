// The agent and the CFM manager as the test plays them, on sockets in a
// directory of the test's own.
#ifndef TESTS_TOOLS_FAKES_H
#define TESTS_TOOLS_FAKES_H

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "agent.pb.h"
#include "cfm/hierarchy.h"
#include "core/tree.h"
#include "manager.pb.h"
#include "unique_fd.h"

namespace test {

// Accepts connections and serves each in a thread of its own until the test
// ends or the peer goes away.
class FakeServer {
 public:
  using Serve = std::function<void(int fd)>;

  FakeServer(const std::filesystem::path& socket, Serve serve);
  ~FakeServer();

 private:
  void Accept();

  ipc::UniqueFd listener_;
  Serve serve_;
  std::list<ipc::UniqueFd> connections_;  // of the acceptor's thread, until it has ended
  std::list<std::thread> threads_;
  std::thread acceptor_;
};

// Takes whatever comes and says nothing, like a process that is stopped.
void HangUntilClosed(int fd);

// What the agent does with one request: answers, or dies (nothing).
using Answer = std::optional<cfm::agent::Reply>;

class FakeAgent {
 public:
  explicit FakeAgent(const std::filesystem::path& directory);

  // What it says to each kind of request, before any client connects.
  std::function<Answer(const cfm::agent::Request&)> on_request;
  std::string welcome_error;
  // So many connections are closed without a welcome.
  std::atomic<int> hang_ups = 0;

  // The status that GetStatus and WatchStatus tell; watchers hear of it.
  void SetStatus(const cfm::agent::Status& status);
  // A record of the operational datastore appears, changes or goes away;
  // watchers hear of it. Those that are there when a watch begins are told at
  // once.
  void ChangeRecord(const std::string& path, const std::optional<cfmctl::TreeNode>& record);
  // The watchers of records are told that they do not keep up.
  void EndWatches();
  // The same of those of the status, which hear no more.
  void EndStatusWatches();
  // Awaits one more than the calls before.
  void AwaitOperationalWatcher();
  // Every request but GetStatus and the watches, as they came.
  std::vector<cfm::agent::Request> Requests() const;

 private:
  void Serve(int fd);
  void AnswerAll(int fd);
  // With the mutex locked.
  Answer AnswerTo(int fd, const cfm::agent::Request& request);

  mutable std::mutex mutex_;
  std::condition_variable watched_;
  cfm::agent::Status status_;
  std::vector<int> watchers_;
  std::map<std::string, cfm::agent::Node> records_;
  std::vector<int> operational_watchers_;
  int operational_watches_ = 0;  // that were ever begun
  int awaited_watches_ = 0;
  std::vector<cfm::agent::Request> requests_;
  std::optional<FakeServer> server_;  // last: its threads use the others
};

class FakeManager {
 public:
  FakeManager(const std::filesystem::path& directory, const cfm::Hierarchy& hierarchy,
              std::vector<std::string> warnings = {});
  // One that nobody has given a configuration yet.
  explicit FakeManager(const std::filesystem::path& directory);

  // Observers hear of it.
  void Hold(const cfm::Hierarchy& hierarchy);
  // Awaits an observer.
  void AwaitObserver();

 private:
  void Serve(int fd);
  void Show(int fd);

  std::mutex mutex_;
  std::condition_variable observed_;
  cfm::manager::Configuration configuration_;
  std::vector<std::string> warnings_;
  std::vector<int> observers_;
  std::optional<FakeServer> server_;  // last: its threads use the others
};

cfm::agent::Node ToNode(const cfmctl::TreeNode& tree);
// A status with that transaction and, with `subscribed`, one subscriber that is
// also a data provider.
cfm::agent::Status StatusOf(std::uint64_t txid, bool subscribed = true);
void AddProvider(cfm::agent::Status& status);

}  // namespace test

#endif
