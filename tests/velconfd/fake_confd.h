// The ConfD C API at the link seam: an agent inside the test program. Its
// sockets are real, so that readiness and hang-ups are real events, and what
// it says is scripted by the test.
#ifndef TESTS_FAKE_CONFD_H
#define TESTS_FAKE_CONFD_H

#include <confd_cdb.h>
#include <confd_dp.h>
#include <confd_lib.h>

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

// What tests and the agent did, in order; one line each.
using Journal = std::vector<std::string>;

// A key or a leaf-list element: a string or a number.
struct Key {
  Key(const char* name) : text(name) {}  // implicit: reads well in trees
  Key(int id) : number(id) {}
  std::string text;
  std::optional<int> number;
};

// A node of a diff tree. `op` 0: only on the way.
struct Node {
  std::string name;
  std::vector<Key> keys;
  int op = 0;
  std::optional<int> old_value;
  std::optional<int> new_value;
  std::vector<Node> children;
};

struct Subscription {
  std::string path;
  int priority;
};

// A data provider's registration.
struct FakeDaemon : confd_daemon_ctx {
  confd_trans_cbs transactions{};
  std::map<std::string, confd_data_cbs> callpoints;
  std::map<std::string, confd_action_cbs> action_points;
};

class FakeAgent {
 public:
  // Listens (by name only) at agentd.sock in the directory; not yet there.
  FakeAgent(std::filesystem::path directory, Journal& journal);
  ~FakeAgent();

  FakeAgent(const FakeAgent&) = delete;
  FakeAgent& operator=(const FakeAgent&) = delete;

  // Begins to listen, and its socket appears.
  void Appear();
  // Hangs up everywhere and listens no more. The socket's file stays.
  void Die();
  // Listens at the file that is there, so that nothing appears.
  void ListenAgain() { listening_ = true; }
  // Hangs up on the connections of one type.
  void HangUp(cdb_sock_type type);
  void HangUp(confd_sock_type type);
  // Hangs up on the data connection that was made last.
  void HangUpOnNewest();

  // Makes the program's socket of that type readable, and its confd_fd_ready
  // do this with what the program has registered and return the result.
  using ProviderRequest = std::function<int(FakeDaemon&)>;
  void Ask(confd_sock_type type, ProviderRequest request);
  // Daemon contexts that the program has not released.
  std::size_t OpenDaemons() const { return daemons_.size(); }

  // Sends a byte that nobody asked for on every data connection.
  void Babble();

  // The `nth` call of `operation` from now on hangs up everywhere, as a death
  // in the middle of it looks, and fails.
  void DieAt(const std::string& operation, int nth = 1);
  // The next call of `operation` fails and that is all.
  void Refuse(const std::string& operation);

  // Makes a commit known: txid moves, the named points are notified; all
  // points when none is named.
  void Commit(Node root, std::vector<int> points = {});
  // The configuration changed and nobody subscribed.
  void MoveOn() { ++txid_; }

  // Ids of the subscribed points with their paths, in order of subscription.
  const std::map<int, Subscription>& Subscriptions() const { return subscriptions_; }
  std::size_t OpenConnections() const { return connections_.size(); }
  std::size_t OpenProviderSockets() const;
  int SessionsOpen() const;
  int Acknowledged() const { return acknowledged_; }

  // An agent that is worse than promised: its diffs go on below deleted nodes,
  // or report the ancestors of a point.
  void WalkBelowDeleted(bool walk) { walks_below_deleted_ = walk; }
  void ReportAncestors(bool report) { reports_ancestors_ = report; }

 private:
  friend struct FakeCalls;
  struct Connection {
    cdb_sock_type type;
    int peer;
    bool session = false;
  };
  // The program closes its end without a call of this API.
  struct ProviderSocket {
    confd_sock_type type;
    int sock;
    int peer;
  };
  struct Script {
    int calls_left;
    bool dies;
  };

  int Enter(const std::string& operation);
  int EnterOn(int sock, const std::string& operation);

  std::filesystem::path directory_;
  Journal& journal_;
  bool listening_ = false;
  bool walks_below_deleted_ = false;
  bool reports_ancestors_ = false;
  std::uint32_t txid_ = 7;
  int acknowledged_ = 0;
  int next_subscription_ = 1;
  std::map<int, Connection> connections_;  // by socket
  std::map<std::string, Script> scripts_;
  std::vector<ProviderSocket> provider_sockets_;
  std::map<confd_daemon_ctx*, std::unique_ptr<FakeDaemon>> daemons_;
  std::map<confd_sock_type, std::deque<ProviderRequest>> asked_;
  std::map<int, Subscription> subscriptions_;
  Node root_;
  std::vector<int> notified_;
};

// /config/oam/cfm/md{east}/remote-meps{7}
std::string Print(const confd_hkeypath_t& keypath);

}  // namespace test

#endif
