// Takes the connections of a listening socket, in an event loop.
#ifndef IPC_ACCEPTOR_H
#define IPC_ACCEPTOR_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <functional>
#include <string>

#include "event_source.h"
#include "unique_fd.h"

namespace ipc {

class Acceptor {
 public:
  using Handler = std::function<void(UniqueFd socket)>;

  // `name` is that of the socket, for people. An exception of `on_accept` costs
  // that connection, with a line on the standard error stream. When descriptors
  // run out connections are turned away, or wait, and keep nobody busy.
  Acceptor(sd_event* loop, UniqueFd socket, std::string name, std::int64_t priority,
           Handler on_accept);

  Acceptor(const Acceptor&) = delete;
  Acceptor& operator=(const Acceptor&) = delete;

 private:
  static int OnReadable(sd_event_source* source, int fd, std::uint32_t events, void* self) noexcept;
  static int OnPauseOver(sd_event_source* source, std::uint64_t now, void* self) noexcept;
  void Accept();
  void TurnAway();

  UniqueFd socket_;
  UniqueFd spare_;  // given up to turn a peer away when descriptors run out
  std::string name_;
  Handler on_accept_;
  EventSource source_;
  EventSource pause_;
};

}  // namespace ipc

#endif
