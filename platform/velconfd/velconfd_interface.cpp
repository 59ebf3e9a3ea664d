#include "velconfd_interface.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "agent_error.h"

using velconfd::CdbSocket;

VelConfdInterface::VelConfdInterface(const std::filesystem::path& agent_socket, const char* name)
    : agent_(agent_socket, name) {}

void VelConfdInterface::SetConnected(bool connected) {
  connected_ = connected;
  if (!connected) {
    idle_.clear();
    for (Lease& lease : leased_) {
      lease.reusable = false;
    }
  }
}

int VelConfdInterface::BeginSession(cdb_db_type database) noexcept {
  if (!connected_) {
    return -1;
  }
  try {
    leased_.push_back({SocketWithSession(database), true});
    return leased_.back().socket.Get();
  } catch (const std::exception&) {
    TellLoss();
    return -1;  // the handler says what it could not do without a session
  }
}

CdbSocket VelConfdInterface::SocketWithSession(cdb_db_type database) {
  while (!idle_.empty()) {
    CdbSocket socket = std::move(idle_.back().socket);
    idle_.pop_back();
    if (cdb_start_session(socket.Get(), database) == CONFD_OK) {
      return socket;
    }
    // It went while it lay idle; the next may be good.
    TellLoss();
  }
  CdbSocket socket(agent_, CDB_DATA_SOCKET);
  velconfd::Check(cdb_start_session(socket.Get(), database), "cdb_start_session");
  return socket;
}

void VelConfdInterface::EndSession(int socket) noexcept {
  const auto lease = std::find_if(leased_.begin(), leased_.end(), [socket](const Lease& one) {
    return one.socket.Get() == socket;
  });
  if (lease == leased_.end()) {
    return;
  }
  const bool ended = cdb_end_session(socket) == CONFD_OK;
  try {
    if (ended && lease->reusable) {
      ipc::EventSource watch = watch_idle_(socket);
      idle_.push_back({std::move(lease->socket), std::move(watch)});
    }
  } catch (const std::exception&) {
    // Not kept: the next session connects anew.
  }
  const bool is_lost = !ended && lease->reusable;
  leased_.erase(lease);
  if (is_lost) {
    TellLoss();
  }
}

void VelConfdInterface::TellLoss() noexcept {
  try {
    on_lost_session_();
  } catch (const std::exception&) {
    // The loop takes no timer; what remains is that the next loss is noticed.
  }
}
