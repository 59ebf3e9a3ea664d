#include "fakes.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "frame.h"
#include "hierarchy_codec.h"

namespace test {
namespace {

ipc::UniqueFd Listen(const std::filesystem::path& path) {
  ipc::UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string fresh = path.string() + ".new";
  std::strncpy(address.sun_path, fresh.c_str(), sizeof address.sun_path - 1);
  if (bind(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0 ||
      listen(fd.Get(), 8) < 0) {
    throw std::system_error(errno, std::system_category(), path.native());
  }
  std::filesystem::rename(fresh, path);  // whoever sees it can connect
  return fd;
}

void SendToEach(const std::vector<int>& fds, const cfm::agent::FromAgent& message) {
  for (const int fd : fds) {
    try {
      ipc::SendFrame(fd, message);
    } catch (const std::system_error&) {
      // It has gone, and its thread is about to notice.
    }
  }
}

cfm::agent::OperationalChange Change(const std::string& path, const cfm::agent::Node& record) {
  cfm::agent::OperationalChange change;
  change.set_path(path);
  *change.mutable_entry() = record;
  return change;
}

}  // namespace

FakeServer::FakeServer(const std::filesystem::path& socket, Serve serve)
    : listener_(Listen(socket)), serve_(std::move(serve)), acceptor_([this] { Accept(); }) {}

FakeServer::~FakeServer() {
  shutdown(listener_.Get(), SHUT_RDWR);  // ends accept
  acceptor_.join();
  for (const ipc::UniqueFd& connection : connections_) {
    shutdown(connection.Get(), SHUT_RDWR);
  }
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

void FakeServer::Accept() {
  while (true) {
    const int fd = accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) {
      return;
    }
    connections_.emplace_back(fd);
    threads_.emplace_back([this, fd] {
      try {
        serve_(fd);
      } catch (const std::exception&) {
        // The peer went away, as it may.
      }
      shutdown(fd, SHUT_RDWR);
    });
  }
}

void HangUntilClosed(int fd) {
  char byte = 0;
  while (recv(fd, &byte, sizeof byte, 0) > 0) {
  }
}

FakeAgent::FakeAgent(const std::filesystem::path& directory) {
  server_.emplace(directory / "agentd.sock", [this](int fd) { Serve(fd); });
}

void FakeAgent::Serve(int fd) {
  cfm::agent::Hello hello;
  ipc::ReceiveFrame(fd, hello);
  if (hang_ups > 0) {
    --hang_ups;
    return;
  }
  cfm::agent::HelloReply welcome;
  welcome.set_error(hello.role() == cfm::agent::ROLE_FRONT_END ? welcome_error : "wrong role");
  ipc::SendFrame(fd, welcome);
  AnswerAll(fd);
  const std::lock_guard lock(mutex_);
  std::erase(watchers_, fd);
  std::erase(operational_watchers_, fd);
}

void FakeAgent::AnswerAll(int fd) {
  cfm::agent::Request request;
  while (ipc::ReceiveFrame(fd, request)) {
    const std::lock_guard lock(mutex_);
    const Answer answer = AnswerTo(fd, request);
    if (!answer) {
      return;
    }
    cfm::agent::FromAgent message;
    *message.mutable_reply() = *answer;
    ipc::SendFrame(fd, message);
    watched_.notify_all();
  }
}

Answer FakeAgent::AnswerTo(int fd, const cfm::agent::Request& request) {
  cfm::agent::Reply reply;
  if (request.has_watch_operational()) {
    operational_watchers_.push_back(fd);
    ++operational_watches_;
    for (const auto& [path, record] : records_) {
      *reply.add_operational() = Change(path, record);
    }
    return reply;
  }
  if (request.has_watch_status()) {
    watchers_.push_back(fd);
  }
  if (request.has_watch_status() || request.has_get_status()) {
    *reply.mutable_status() = status_;
    return reply;
  }
  requests_.push_back(request);
  return on_request ? on_request(request) : Answer(reply);
}

void FakeAgent::SetStatus(const cfm::agent::Status& status) {
  const std::lock_guard lock(mutex_);
  status_ = status;
  cfm::agent::FromAgent message;
  *message.mutable_reply()->mutable_status() = status;
  SendToEach(watchers_, message);
}

void FakeAgent::ChangeRecord(const std::string& path,
                             const std::optional<cfmctl::TreeNode>& record) {
  const std::lock_guard lock(mutex_);
  cfm::agent::FromAgent message;
  cfm::agent::OperationalChange& change = *message.mutable_reply()->add_operational();
  change.set_path(path);
  if (record) {
    change = Change(path, records_[path] = ToNode(*record));
  } else {
    records_.erase(path);
  }
  SendToEach(operational_watchers_, message);
}

void FakeAgent::EndWatches() {
  const std::lock_guard lock(mutex_);
  cfm::agent::FromAgent message;
  message.mutable_reply()->add_errors()->set_message("the watch did not keep up");
  SendToEach(operational_watchers_, message);
}

void FakeAgent::EndStatusWatches() {
  const std::lock_guard lock(mutex_);
  cfm::agent::FromAgent message;
  message.mutable_reply()->add_errors()->set_message("the watch did not keep up");
  SendToEach(std::exchange(watchers_, {}), message);
}

void FakeAgent::AwaitOperationalWatcher() {
  std::unique_lock lock(mutex_);
  const bool came = watched_.wait_for(lock, std::chrono::seconds(30),
                                      [this] { return operational_watches_ > awaited_watches_; });
  if (!came) {
    throw std::runtime_error("nobody began to watch");
  }
  ++awaited_watches_;
}

std::vector<cfm::agent::Request> FakeAgent::Requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

FakeManager::FakeManager(const std::filesystem::path& directory, const cfm::Hierarchy& hierarchy,
                         std::vector<std::string> warnings)
    : warnings_(std::move(warnings)) {
  Hold(hierarchy);
  server_.emplace(directory / "cfm-managerd.sock", [this](int fd) { Serve(fd); });
}

FakeManager::FakeManager(const std::filesystem::path& directory) {
  server_.emplace(directory / "cfm-managerd.sock", [this](int fd) { Serve(fd); });
}

void FakeManager::Hold(const cfm::Hierarchy& hierarchy) {
  const std::lock_guard lock(mutex_);
  const std::uint64_t number = configuration_.number() + 1;
  configuration_.Clear();
  configuration_.set_number(number);
  cfm::EncodeHierarchy(hierarchy, configuration_);
  for (const int fd : observers_) {
    Show(fd);
  }
}

void FakeManager::AwaitObserver() {
  std::unique_lock lock(mutex_);
  observed_.wait(lock, [this] { return !observers_.empty(); });
}

void FakeManager::Serve(int fd) {
  cfm::manager::Hello hello;
  ipc::ReceiveFrame(fd, hello);
  cfm::manager::HelloReply welcome;
  welcome.set_error(hello.role() == cfm::manager::ROLE_OBSERVE ? "" : "wrong role");
  ipc::SendFrame(fd, welcome);
  {
    const std::lock_guard lock(mutex_);
    Show(fd);
    observers_.push_back(fd);
  }
  observed_.notify_all();
  cfm::manager::FromClient message;
  while (ipc::ReceiveFrame(fd, message)) {
  }
  const std::lock_guard lock(mutex_);
  std::erase(observers_, fd);
}

void FakeManager::Show(int fd) {
  cfm::manager::FromManager applied;
  applied.mutable_applied()->set_number(configuration_.number());
  for (const std::string& warning : warnings_) {
    applied.mutable_applied()->add_warnings(warning);
  }
  ipc::SendFrame(fd, applied);
  cfm::manager::FromManager held;
  *held.mutable_configuration() = configuration_;
  ipc::SendFrame(fd, held);
}

cfm::agent::Node ToNode(const cfmctl::TreeNode& tree) {
  constexpr cfm::agent::Node::Kind kKinds[] = {cfm::agent::Node::CONTAINER,
                                               cfm::agent::Node::LIST_ENTRY, cfm::agent::Node::LEAF,
                                               cfm::agent::Node::LEAF_LIST_ELEMENT};
  cfm::agent::Node node;
  node.set_kind(kKinds[static_cast<int>(tree.kind)]);
  node.set_name(tree.name);
  node.set_value(tree.value);
  for (const cfmctl::TreeNode& child : tree.children) {
    *node.add_children() = ToNode(child);
  }
  return node;
}

void AddProvider(cfm::agent::Status& status) {
  cfm::agent::ProviderStatus* const provider = status.add_providers();
  provider->set_name("cfm-app");
  provider->set_pid(123);
  provider->add_callpoints("level");
  provider->add_callpoints("statistics");
  provider->add_actionpoints("clear_cfm_statistics");
}

cfm::agent::Status StatusOf(std::uint64_t txid, bool subscribed) {
  cfm::agent::Status status;
  status.set_txid(txid);
  status.set_database("/var/lib/cfm/running.db");
  if (subscribed) {
    cfm::agent::SubscriberStatus* const daemon = status.add_subscribers();
    daemon->set_name("cfm-app");
    daemon->set_pid(123);
    daemon->add_points("/config/oam/cfm/md/");
    AddProvider(status);
  }
  return status;
}

}  // namespace test
