#include "fake_confd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

int confd_errno = 0;

namespace test {
namespace {

FakeAgent* agent = nullptr;

std::map<std::uint32_t, std::string>& Names() {
  static std::map<std::uint32_t, std::string> names;
  return names;
}

std::uint32_t Tag(const std::string& name) {
  std::uint32_t hash = 2166136261U;
  for (const char letter : name) {
    hash = (hash ^ static_cast<unsigned char>(letter)) * 16777619U;
  }
  Names()[hash] = name;
  return hash;
}

}  // namespace

FakeAgent::FakeAgent(std::filesystem::path directory, Journal& journal)
    : directory_(std::move(directory)), journal_(journal) {
  agent = this;
}

FakeAgent::~FakeAgent() {
  Die();
  for (const auto& [sock, connection] : connections_) {
    ADD_FAILURE() << "socket " << sock << " was never closed";
  }
  EXPECT_EQ(OpenDaemons(), 0U) << "a daemon context was never released";
  agent = nullptr;
}

void FakeAgent::Appear() {
  listening_ = true;
  std::ofstream(directory_ / "coming");
  std::filesystem::rename(directory_ / "coming", directory_ / "agentd.sock");
}

void FakeAgent::Die() {
  listening_ = false;
  HangUp(CDB_DATA_SOCKET);
  HangUp(CDB_SUBSCRIPTION_SOCKET);
  HangUp(CONTROL_SOCKET);
  HangUp(WORKER_SOCKET);
  asked_.clear();
}

void FakeAgent::HangUp(confd_sock_type type) {
  for (ProviderSocket& socket : provider_sockets_) {
    if (socket.type == type && socket.peer >= 0) {
      close(socket.peer);
      socket.peer = -1;
    }
  }
}

std::size_t FakeAgent::OpenProviderSockets() const {
  return static_cast<std::size_t>(
      std::count_if(provider_sockets_.begin(), provider_sockets_.end(), [](const auto& socket) {
        char byte = 0;
        return socket.peer >= 0 && recv(socket.peer, &byte, 1, MSG_PEEK | MSG_DONTWAIT) != 0;
      }));
}

void FakeAgent::Ask(confd_sock_type type, ProviderRequest request) {
  asked_[type].push_back(std::move(request));
  for (const ProviderSocket& socket : provider_sockets_) {
    if (socket.type == type && socket.peer >= 0) {
      ASSERT_EQ(send(socket.peer, "r", 1, MSG_NOSIGNAL), 1);
    }
  }
}

void FakeAgent::HangUp(cdb_sock_type type) {
  for (auto& [sock, connection] : connections_) {
    if (connection.type == type && connection.peer >= 0) {
      close(connection.peer);
      connection.peer = -1;
    }
  }
}

void FakeAgent::HangUpOnNewest() {
  const auto newest =
      std::find_if(connections_.rbegin(), connections_.rend(),
                   [](const auto& each) { return each.second.type == CDB_DATA_SOCKET; });
  ASSERT_NE(newest, connections_.rend());
  close(std::exchange(newest->second.peer, -1));
}

void FakeAgent::Babble() {
  for (const auto& [sock, connection] : connections_) {
    if (connection.type == CDB_DATA_SOCKET) {
      ASSERT_EQ(send(connection.peer, "?", 1, MSG_NOSIGNAL), 1);
    }
  }
}

void FakeAgent::DieAt(const std::string& operation, int nth) {
  scripts_[operation] = {nth, true};
}
void FakeAgent::Refuse(const std::string& operation) {
  scripts_[operation] = {1, false};
}

void FakeAgent::Commit(Node root, std::vector<int> points) {
  root_ = std::move(root);
  notified_ = std::move(points);
  if (notified_.empty()) {
    for (const auto& [id, subscription] : subscriptions_) {
      notified_.push_back(id);
    }
  }
  ++txid_;
  for (const auto& [sock, connection] : connections_) {
    if (connection.type == CDB_SUBSCRIPTION_SOCKET) {
      ASSERT_EQ(send(connection.peer, "n", 1, MSG_NOSIGNAL), 1);
    }
  }
}

int FakeAgent::SessionsOpen() const {
  int open = 0;
  for (const auto& [sock, connection] : connections_) {
    open += connection.session ? 1 : 0;
  }
  return open;
}

int FakeAgent::Enter(const std::string& operation) {
  const auto script = scripts_.find(operation);
  if (script == scripts_.end() || --script->second.calls_left > 0) {
    return CONFD_OK;
  }
  const bool dies = script->second.dies;
  scripts_.erase(script);
  journal_.push_back("fails: " + operation);
  confd_errno = dies ? CONFD_ERR_OS : CONFD_ERR_INTERNAL;
  if (dies) {
    Die();
    return CONFD_EOF;
  }
  return CONFD_ERR;
}

int FakeAgent::EnterOn(int sock, const std::string& operation) {
  const int result = Enter(operation);
  if (result != CONFD_OK) {
    return result;
  }
  const auto connection = connections_.find(sock);
  if (connection == connections_.end()) {
    ADD_FAILURE() << operation << " on socket " << sock << ", which is not connected";
    return CONFD_ERR;
  }
  return connection->second.peer < 0 ? CONFD_EOF : CONFD_OK;
}

std::string Print(const confd_hkeypath_t& keypath) {
  std::ostringstream text;
  for (int level = keypath.len - 1; level >= 0; --level) {
    const confd_value_t* values = keypath.v[level];
    if (values[0].type == C_XMLTAG) {
      text << '/' << Names()[values[0].val.xmltag.tag];
      continue;
    }
    text << '{';
    for (int i = 0; i < MAXKEYLEN && values[i].type != C_NOEXISTS; ++i) {
      text << (i > 0 ? " " : "");
      if (values[i].type == C_BUF) {
        text << CONFD_GET_CBUFPTR(&values[i]);
      } else {
        text << CONFD_GET_INT32(&values[i]);
      }
    }
    text << '}';
  }
  return text.str();
}

// What the functions below do with the agent.
struct FakeCalls {
  static int Connect(int sock, cdb_sock_type type) {
    const int result =
        agent->Enter(type == CDB_DATA_SOCKET ? "connect data" : "connect subscription");
    if (result != CONFD_OK) {
      return result;
    }
    if (!agent->listening_) {
      confd_errno = CONFD_ERR_OS;
      return CONFD_ERR;
    }
    int pair[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    EXPECT_EQ(dup3(pair[0], sock, O_CLOEXEC), sock);
    close(pair[0]);
    agent->connections_[sock] = {type, pair[1]};
    return CONFD_OK;
  }

  static int Close(int sock) {
    const auto connection = agent->connections_.find(sock);
    if (connection == agent->connections_.end()) {
      ADD_FAILURE() << "cdb_close of socket " << sock << ", which is not connected";
      return CONFD_ERR;
    }
    if (connection->second.peer >= 0) {
      close(connection->second.peer);
    }
    close(sock);
    agent->connections_.erase(connection);
    return CONFD_OK;
  }

  static int Enter(const char* operation) { return agent->Enter(operation); }

  // Data providers.

  static confd_daemon_ctx* InitDaemon() {
    auto daemon = std::make_unique<FakeDaemon>();
    confd_daemon_ctx* const context = daemon.get();
    agent->daemons_.emplace(context, std::move(daemon));
    return context;
  }

  static void ReleaseDaemon(confd_daemon_ctx* context) {
    EXPECT_EQ(agent->daemons_.erase(context), 1U);
  }

  static FakeDaemon& Daemon(confd_daemon_ctx* context) { return *agent->daemons_.at(context); }

  static int ConnectProvider(int sock, confd_sock_type type) {
    const std::string operation = type == CONTROL_SOCKET ? "connect control" : "connect worker";
    const int result = agent->Enter(operation);
    if (result != CONFD_OK) {
      return result;
    }
    int pair[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    EXPECT_EQ(dup3(pair[0], sock, O_CLOEXEC), sock);
    close(pair[0]);
    agent->provider_sockets_.push_back({type, sock, pair[1]});
    agent->journal_.push_back(operation);
    return CONFD_OK;
  }

  static int Note(const std::string& operation, const std::string& note) {
    const int result = agent->Enter(operation);
    if (result == CONFD_OK) {
      agent->journal_.push_back(note);
    }
    return result;
  }

  static int FdReady(confd_daemon_ctx* context, int sock) {
    char byte = 0;
    if (recv(sock, &byte, 1, MSG_DONTWAIT) != 1) {
      return CONFD_EOF;
    }
    const auto socket =
        std::find_if(agent->provider_sockets_.rbegin(), agent->provider_sockets_.rend(),
                     [sock](const auto& one) { return one.sock == sock; });
    auto& asked = agent->asked_[socket->type];
    const auto request = asked.front();
    asked.pop_front();
    return request(Daemon(context));
  }

  static int StartSession(int sock, const char* operation, const std::string& note) {
    const int result = agent->EnterOn(sock, operation);
    if (result == CONFD_OK) {
      EXPECT_FALSE(std::exchange(agent->connections_[sock].session, true))
          << "a session inside a session on one socket";
      agent->journal_.push_back(note);
    }
    return result;
  }

  static int EndSession(int sock) {
    const int result = agent->EnterOn(sock, "end session");
    if (result == CONFD_OK) {
      EXPECT_TRUE(std::exchange(agent->connections_[sock].session, false));
      agent->journal_.push_back("end session");
    }
    return result;
  }

  static int Txid(int sock, cdb_txid* txid) {
    const int result = agent->EnterOn(sock, "txid");
    *txid = {agent->txid_, 0, 0};
    if (result == CONFD_OK) {
      agent->journal_.push_back("txid");
    }
    return result;
  }

  static int Subscribe(int sock, int priority, int name_space, int* point, const char* path) {
    const int result = agent->EnterOn(sock, "subscribe");
    if (result == CONFD_OK) {
      *point = agent->next_subscription_++;
      agent->subscriptions_[*point] = {path, priority};
      agent->journal_.push_back(std::string("subscribe ") + path + " " +
                                std::to_string(static_cast<std::uint32_t>(name_space)));
    }
    return result;
  }

  static int SubscribeDone(int sock) {
    const int result = agent->EnterOn(sock, "subscribe done");
    if (result == CONFD_OK) {
      agent->journal_.push_back("subscribe done");
    }
    return result;
  }

  static int ReadNotification(int sock, int* points, int* count) {
    const int result = agent->EnterOn(sock, "read notification");
    if (result != CONFD_OK) {
      return result;
    }
    char byte = 0;
    EXPECT_EQ(recv(sock, &byte, 1, MSG_DONTWAIT), 1);
    *count = 0;
    for (const int id : agent->notified_) {
      points[(*count)++] = id;
    }
    return CONFD_OK;
  }

  static int Sync(int sock) {
    const int result = agent->EnterOn(sock, "sync");
    if (result == CONFD_OK) {
      ++agent->acknowledged_;
      agent->journal_.push_back("sync");
    }
    return result;
  }

  using Iterate = confd_iter_ret (*)(confd_hkeypath_t*, confd_iter_op, confd_value_t*,
                                     confd_value_t*, void*);

  static int Diff(int sock, int id, Iterate iterate, int flags, void* state) {
    const int result = agent->EnterOn(sock, "diff");
    if (result != CONFD_OK) {
      return result;
    }
    Walk walk{iterate, state, (flags & ITER_WANT_PREV) != 0, agent->subscriptions_.at(id).path, {}};
    for (const Node& node : agent->root_.children) {
      if (Visit(walk, node, "") == ITER_STOP) {
        break;
      }
    }
    return CONFD_OK;
  }

 private:
  struct Walk {
    Iterate iterate;
    void* state;
    bool wants_old;
    std::string point;  // ends with a slash
    std::vector<std::pair<std::string, const Node*>> branch;
  };

  static void Fill(const Walk& walk, confd_hkeypath_t& keypath) {
    for (auto& element : keypath.v) {
      for (confd_value_t& value : element) {
        CONFD_SET_NOEXISTS(&value);
      }
    }
    int level = 0;
    for (auto step = walk.branch.rbegin(); step != walk.branch.rend(); ++step) {
      const Node& node = *step->second;
      for (std::size_t i = 0; i < node.keys.size(); ++i) {
        SetKey(keypath.v[level][i], node.keys[i]);
      }
      level += node.keys.empty() ? 0 : 1;
      CONFD_SET_XMLTAG(&keypath.v[level][0], Tag(node.name), 1);
      ++level;
    }
    keypath.len = level;
  }

  static void SetKey(confd_value_t& value, const Key& key) {
    if (key.number) {
      CONFD_SET_INT32(&value, *key.number);
    } else {
      auto* text = reinterpret_cast<unsigned char*>(const_cast<char*>(key.text.c_str()));
      CONFD_SET_BUF(&value, text, static_cast<unsigned>(key.text.size()));
    }
  }

  // Strings and values live on the stack of the walk: a callback that keeps
  // pointers into them is found out by the sanitizers.
  static confd_iter_ret Report(const Walk& walk, const Node& node) {
    const auto keypath = std::make_unique<confd_hkeypath_t>();
    Fill(walk, *keypath);
    confd_value_t old_value;
    confd_value_t new_value;
    CONFD_SET_INT32(&old_value, node.old_value.value_or(0));
    CONFD_SET_INT32(&new_value, node.new_value.value_or(0));
    return walk.iterate(keypath.get(), static_cast<confd_iter_op>(node.op),
                        node.old_value && walk.wants_old ? &old_value : nullptr,
                        node.new_value ? &new_value : nullptr, walk.state);
  }

  static confd_iter_ret Visit(Walk& walk, const Node& node, const std::string& above) {
    const std::string path = above + "/" + node.name;
    const bool inside = (path + "/").compare(0, walk.point.size(), walk.point) == 0;
    const bool on_the_way = walk.point.compare(0, path.size() + 1, path + "/") == 0;
    if (!inside && !on_the_way) {
      return ITER_RECURSE;
    }
    walk.branch.emplace_back(path, &node);
    confd_iter_ret how = ITER_RECURSE;
    if (node.op != 0 && (inside || agent->reports_ancestors_)) {
      how = Report(walk, node);
    }
    if (how == ITER_RECURSE && (node.op != MOP_DELETED || agent->walks_below_deleted_)) {
      how = VisitChildren(walk, node, path);
    }
    walk.branch.pop_back();
    return how;
  }

  static confd_iter_ret VisitChildren(Walk& walk, const Node& node, const std::string& path) {
    for (const Node& child : node.children) {
      const confd_iter_ret how = Visit(walk, child, path);
      if (how == ITER_STOP) {
        return how;
      }
      if (how == ITER_UP) {
        break;
      }
    }
    return ITER_RECURSE;
  }
};

}  // namespace test

using test::FakeCalls;

extern "C" {

int cdb_connect_name(int sock, enum cdb_sock_type type, const struct sockaddr*, int, const char*) {
  return FakeCalls::Connect(sock, type);
}
int cdb_close(int sock) {
  return FakeCalls::Close(sock);
}
int cdb_start_session(int sock, enum cdb_db_type db) {
  return FakeCalls::StartSession(sock, "session", "session " + std::to_string(db));
}
int cdb_start_session2(int sock, enum cdb_db_type db, int flags) {
  EXPECT_EQ(db, CDB_RUNNING);
  EXPECT_EQ(flags, CDB_LOCK_SESSION | CDB_LOCK_WAIT);
  return FakeCalls::StartSession(sock, "lock", "lock");
}
int cdb_end_session(int sock) {
  return FakeCalls::EndSession(sock);
}
int cdb_get_txid(int sock, struct cdb_txid* txid) {
  return FakeCalls::Txid(sock, txid);
}
int cdb_subscribe(int sock, int prio, int nspace, int* spoint, const char* fmt, ...) {
  return FakeCalls::Subscribe(sock, prio, nspace, spoint, fmt);
}
int cdb_subscribe_done(int sock) {
  return FakeCalls::SubscribeDone(sock);
}
int cdb_read_subscription_socket(int sock, int sub_points[], int* resultlen) {
  return FakeCalls::ReadNotification(sock, sub_points, resultlen);
}
int cdb_diff_iterate(int sock, int subid, FakeCalls::Iterate iter, int flags, void* initstate) {
  return FakeCalls::Diff(sock, subid, iter, flags, initstate);
}
int cdb_sync_subscription_socket(int sock, enum cdb_subscription_sync_type) {
  return FakeCalls::Sync(sock);
}

struct confd_daemon_ctx* confd_init_daemon(const char*) {
  return FakeCalls::InitDaemon();
}
void confd_release_daemon(struct confd_daemon_ctx* dx) {
  FakeCalls::ReleaseDaemon(dx);
}
int confd_connect(struct confd_daemon_ctx*, int sock, enum confd_sock_type type,
                  const struct sockaddr*, int) {
  return FakeCalls::ConnectProvider(sock, type);
}
int confd_register_trans_cb(struct confd_daemon_ctx* dx, const struct confd_trans_cbs* trans) {
  FakeCalls::Daemon(dx).transactions = *trans;
  return FakeCalls::Note("register transactions", "register transactions");
}
int confd_register_data_cb(struct confd_daemon_ctx* dx, const struct confd_data_cbs* data) {
  FakeCalls::Daemon(dx).callpoints[data->callpoint] = *data;
  return FakeCalls::Note("register callpoint",
                         std::string("register callpoint ") + data->callpoint);
}
int confd_register_action_cbs(struct confd_daemon_ctx* dx, const struct confd_action_cbs* acb) {
  FakeCalls::Daemon(dx).action_points[acb->actionpoint] = *acb;
  return FakeCalls::Note("register action", std::string("register action ") + acb->actionpoint);
}
int confd_register_done(struct confd_daemon_ctx*) {
  return FakeCalls::Note("register done", "register done");
}
int confd_fd_ready(struct confd_daemon_ctx* dx, int fd) {
  return FakeCalls::FdReady(dx, fd);
}
void confd_trans_set_fd(struct confd_trans_ctx* tctx, int sock) {
  tctx->fd = sock;
}
void confd_action_set_fd(struct confd_user_info* uinfo, int sock) {
  uinfo->actionfd = sock;
}

int confd_load_schemas(const struct sockaddr*, int) {
  return FakeCalls::Enter("schemas");
}
uint32_t confd_str2hash(const char* str) {
  return strcmp(str, "unknown") == 0 ? 0 : test::Tag(str);
}
const char* confd_lasterr(void) {
  return "as scripted";
}

int confd_pp_value(char* buf, int bufsiz, const confd_value_t* v) {
  EXPECT_EQ(v->type, C_INT32);
  return snprintf(buf, static_cast<size_t>(bufsiz), "%d", CONFD_GET_INT32(v));
}

confd_value_t* confd_value_dup(const confd_value_t* v) {
  auto* copy = static_cast<confd_value_t*>(malloc(sizeof(confd_value_t)));
  *copy = *v;
  if (v->type == C_BUF) {
    auto* text = static_cast<unsigned char*>(malloc(v->val.buf.size + 1));
    memcpy(text, v->val.buf.ptr, v->val.buf.size);
    text[v->val.buf.size] = 0;
    copy->val.buf.ptr = text;
  }
  return copy;
}

void confd_free_dup_value(confd_value_t* v) {
  if (v->type == C_BUF) {
    free(v->val.buf.ptr);
  }
  free(v);
}

int confd_val_eq(const confd_value_t* v1, const confd_value_t* v2) {
  if (v1->type != v2->type) {
    return 0;
  }
  switch (v1->type) {
    case C_BUF:
      return v1->val.buf.size == v2->val.buf.size &&
             memcmp(v1->val.buf.ptr, v2->val.buf.ptr, v1->val.buf.size) == 0;
    case C_XMLTAG:
      return v1->val.xmltag.tag == v2->val.xmltag.tag && v1->val.xmltag.ns == v2->val.xmltag.ns;
    default:
      EXPECT_EQ(v1->type, C_INT32);
      return v1->val.i32 == v2->val.i32;
  }
}

}  // extern "C"
