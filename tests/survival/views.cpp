#include "views.h"

#include <manager.pb.h>
#include <poll.h>

#include <algorithm>
#include <stdexcept>

#include "connect.h"
#include "failure.h"
#include "frame.h"
#include "hierarchy_codec.h"
#include "hierarchy_text.h"
#include "status_record.h"

namespace survival {
namespace {

bool HasInput(int descriptor) {
  pollfd event{descriptor, POLLIN, 0};
  return poll(&event, 1, 0) == 1;
}

std::string Leaf(const cfm::agent::Node& entry, const std::string& name) {
  for (const cfm::agent::Node& child : entry.children()) {
    if (child.name() == name) {
      return child.value();
    }
  }
  return {};
}

std::string NameOf(const cfm::agent::Node& entry) {
  const bool local = entry.name() == "local";
  return entry.name() + " " + Leaf(entry, "md") + " " + Leaf(entry, "ma") + " " +
         Leaf(entry, local ? "mep" : "remote-mep");
}

bool IsLost(const cfm::agent::SubscriberStatus&) {
  return false;
}

bool IsLost(const cfm::agent::ProviderStatus& provider) {
  return provider.lost();
}

template <typename Peers>
bool HasDaemon(const Peers& peers, Node& node) {
  const test::Process* daemon = node.Of(Part::kDaemon).process;
  return daemon != nullptr && std::ranges::any_of(peers, [daemon](const auto& peer) {
           return peer.pid() == daemon->Pid() && !IsLost(peer);
         });
}

}  // namespace

cfm::agent::Reply Next(Supervisor& supervisor, test::FrontEnd& front_end) {
  supervisor.AwaitReadable(front_end.Fd(), "a reply of the agent");
  return front_end.Receive();
}

cfm::agent::Reply Ask(Supervisor& supervisor, test::FrontEnd& front_end,
                      const cfm::agent::Request& request) {
  front_end.Send(request);
  return Next(supervisor, front_end);
}

bool IsSubscribed(Supervisor& supervisor, Node& node) {
  test::FrontEnd front_end(node.Element().RuntimeDirectory());
  cfm::agent::Request request;
  request.mutable_get_status();
  return HasDaemon(Ask(supervisor, front_end, request).status().subscribers(), node);
}

AgentView::AgentView(Supervisor& supervisor, Node& node)
    : supervisor_(supervisor), node_(node), front_end_(node.Element().RuntimeDirectory()) {
  cfm::agent::Request watch;
  watch.mutable_watch_status();
  front_end_.Send(watch);
}

void AgentView::AwaitDaemon() {
  while (true) {
    const cfm::agent::Status status = Next(supervisor_, front_end_).status();
    if (HasDaemon(status.subscribers(), node_) && HasDaemon(status.providers(), node_) &&
        !status.commit_in_progress()) {
      return;
    }
  }
}

bool AgentView::AwaitCommitInProgress(const std::function<bool()>& or_else, int descriptor) {
  bool in_progress = false;
  const auto come_so_far = [&] {
    while (!in_progress && HasInput(front_end_.Fd())) {
      in_progress = front_end_.Receive().status().commit_in_progress();
    }
    return in_progress || or_else();
  };
  supervisor_.Await({front_end_.Fd(), descriptor}, come_so_far, Clock::now() + test::kPatience);
  return in_progress;
}

RecordsView::RecordsView(Supervisor& supervisor, Node& node)
    : supervisor_(supervisor), front_end_(node.Element().RuntimeDirectory()) {
  cfm::agent::Request watch;
  watch.mutable_watch_operational()->set_path("/status");
  const cfm::agent::Reply first = Ask(supervisor_, front_end_, watch);
  if (first.errors_size() > 0) {
    throw Failure("watch of the status: " + first.errors(0).message());
  }
  Take(first);
}

void RecordsView::Take(const cfm::agent::Reply& reply) {
  for (const cfm::agent::OperationalChange& change : reply.operational()) {
    if (change.has_entry()) {
      entries_[change.path()] = change.entry();
    } else {
      entries_.erase(change.path());
    }
  }
}

std::multiset<std::string> RecordsView::Names() const {
  std::multiset<std::string> names;
  for (const auto& [path, entry] : entries_) {
    names.insert(NameOf(entry));
  }
  return names;
}

std::string RecordsView::LeafOf(const std::string& name, const std::string& leaf) const {
  for (const auto& [path, entry] : entries_) {
    if (NameOf(entry) == name) {
      return Leaf(entry, leaf);
    }
  }
  return {};
}

std::string RecordsView::MissingLeaf() const {
  for (const auto& [path, entry] : entries_) {
    const test::StatusRecord record = test::RecordOf(entry);
    for (const test::StatusLeaf& leaf : test::LeavesOf(record.list)) {
      if (!leaf.is_computed && !record.leaves.contains(leaf.name)) {
        return path + "/" + leaf.name;
      }
    }
  }
  return {};
}

bool RecordsView::AwaitUntil(const std::function<bool()>& done, std::chrono::seconds patience) {
  const auto looked = [&] {
    while (HasInput(front_end_.Fd())) {
      Take(front_end_.Receive());
    }
    return done();
  };
  return supervisor_.Await({front_end_.Fd()}, looked, Clock::now() + patience);
}

ManagerView::ManagerView(Supervisor& supervisor, Node& node)
    : supervisor_(supervisor), socket_(ipc::ConnectUnix(node.SocketOf(Part::kManager))) {
  cfm::manager::Hello hello;
  hello.set_version(1);
  hello.set_role(cfm::manager::ROLE_OBSERVE);
  hello.set_name("survival");
  ipc::SendFrame(socket_.Get(), hello);
  supervisor_.AwaitReadable(socket_.Get(), "the welcome of the manager");
  cfm::manager::HelloReply reply;
  if (!ipc::ReceiveFrame(socket_.Get(), reply) || !reply.error().empty()) {
    throw std::runtime_error("the manager refused the connection: " + reply.error());
  }
}

std::optional<cfm::Hierarchy> ManagerView::AwaitEqual(const cfm::Hierarchy& expected) {
  const std::string wanted = test::ToText(expected, test::VlanOrder::kAsSet);
  cfm::Hierarchy held;
  const auto equal = [&] {
    while (HasInput(socket_.Get())) {
      cfm::manager::FromManager message;
      if (!ipc::ReceiveFrame(socket_.Get(), message)) {
        throw std::runtime_error("the manager closed the connection");
      }
      if (message.has_configuration()) {
        held = cfm::DecodeHierarchy(message.configuration());
      }
    }
    return test::ToText(held, test::VlanOrder::kAsSet) == wanted;
  };
  if (supervisor_.Await({socket_.Get()}, equal, Clock::now() + test::kPatience)) {
    return std::nullopt;
  }
  return held;
}

}  // namespace survival
