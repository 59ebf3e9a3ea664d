// An event loop of the caller's own, run until something has happened.
#ifndef TESTS_SUPPORT_LOOP_H
#define TESTS_SUPPORT_LOOP_H

#include <sys/socket.h>
#include <systemd/sd-event.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <system_error>
#include <utility>

#include "event_source.h"
#include "unique_fd.h"

class Loop {
 public:
  Loop() {
    sd_event* loop = nullptr;
    ipc::CheckEvent(sd_event_new(&loop), "create a loop");
    loop_.reset(loop);
  }

  sd_event* Get() const { return loop_.get(); }

  // Dispatches until `happened`; false when nothing more comes for half a
  // minute.
  template <typename Condition>
  bool RunUntil(Condition happened) {
    while (!happened()) {
      if (sd_event_run(loop_.get(), 30'000'000) <= 0) {
        return false;
      }
    }
    return true;
  }

  // Dispatches what is ready now. Returns how many turns that took.
  int RunReady() {
    int turns = 0;
    while (sd_event_run(loop_.get(), 0) > 0) {
      ++turns;
    }
    return turns;
  }

 private:
  struct Unref {
    void operator()(sd_event* loop) const { sd_event_unref(loop); }
  };
  std::unique_ptr<sd_event, Unref> loop_;
};

// Two connected sockets; what waits too long on one of them fails.
inline std::pair<ipc::UniqueFd, ipc::UniqueFd> ConnectedPair() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) < 0) {
    throw std::system_error(errno, std::system_category(), "socketpair");
  }
  const timeval patience{.tv_sec = 30, .tv_usec = 0};
  for (const int end : ends) {
    setsockopt(end, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  }
  return {ipc::UniqueFd(ends[0]), ipc::UniqueFd(ends[1])};
}

#endif
