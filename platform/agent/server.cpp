#include "server.h"

#include <pwd.h>

#include <algorithm>
#include <vector>

#include "frame.h"
#include "log.h"

namespace agentd {
namespace {

constexpr std::int64_t kEventPriority = 0;

std::string UserName(uid_t uid) {
  const passwd* user = getpwuid(uid);
  return user != nullptr ? user->pw_name : std::to_string(uid);
}

}  // namespace

Server::Server(sd_event* loop, const Doors& doors, const Services& services)
    : loop_(loop),
      owner_(ipc::OwnerWithViewGroup(doors.view_group)),
      services_(services),
      listener_(
          loop, doors.path, kEventPriority,
          [this](ipc::UniqueFd socket, const ipc::Peer& peer) { Accept(std::move(socket), peer); },
          ipc::SocketMode(owner_)) {
  if (!owner_.view_gid) {
    AGENT_LOG_INFO("there is no group '%s': nobody may only look", doors.view_group.c_str());
  }
  if (doors.port) {
    loopback_.emplace(loop, *doors.port, kEventPriority, [this](ipc::UniqueFd socket) {
      Add(std::move(socket), {}, Connection::Origin::kLoopback);
    });
  }
}

void Server::AddTo(cfm::agent::Status& status) const {
  for (const auto& [number, connection] : connections_) {
    connection->AddTo(status);
  }
}

std::string Server::Unfinished() const {
  std::string names;
  for (const auto& [number, connection] : connections_) {
    if (connection->IsAtWork()) {
      names += (names.empty() ? "" : ", ") + connection->Describe();
    }
  }
  return names;
}

void Server::GiveUp() {
  for (const auto& [number, connection] : connections_) {
    connection->GiveUp();
  }
}

bool Server::KeepsWaiting(pid_t pid) const {
  return std::any_of(connections_.begin(), connections_.end(),
                     [pid](const auto& each) { return each.second->KeepsWaiting(pid); });
}

void Server::Lose(pid_t pid, const std::string& why) {
  std::vector<std::uint64_t> its;
  for (const auto& [number, connection] : connections_) {
    if (connection->IsCountedOn(pid)) {
      its.push_back(number);
    }
  }
  for (const std::uint64_t number : its) {
    if (const auto found = connections_.find(number); found != connections_.end()) {
      found->second->Drop("it " + why);
    }
  }
}

void Server::Accept(ipc::UniqueFd socket, const ipc::Peer& peer) {
  const ipc::Access access = ipc::AccessOf(peer, owner_);
  if (access != ipc::Access::kNone) {
    Add(std::move(socket), {peer.pid, UserName(peer.uid), access},
        Connection::Origin::kLocalSocket);
    return;
  }
  AGENT_LOG_WARNING("connection of process %d refused: user %u may not", peer.pid, peer.uid);
  cfm::agent::HelloReply reply;
  reply.set_error("user " + UserName(peer.uid) +
                  " may not connect to agentd: become a member of its group " +
                  ipc::GroupName(owner_.gid) +
                  (owner_.view_gid ? ", or to look only, of " + ipc::GroupName(*owner_.view_gid)
                                   : std::string()));
  ipc::SendFrame(socket.Get(), reply);
}

void Server::Add(ipc::UniqueFd socket, Connection::Who who, Connection::Origin origin) {
  const std::uint64_t number = ++last_connection_;
  connections_.emplace(number,
                       std::make_unique<Connection>(
                           loop_, std::move(socket), number, std::move(who), origin, services_,
                           [this](std::uint64_t gone) { connections_.erase(gone); }));
}

}  // namespace agentd
