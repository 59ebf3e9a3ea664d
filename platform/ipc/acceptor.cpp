#include "acceptor.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <exception>
#include <utility>

#include "log_output.h"

namespace ipc {
namespace {

constexpr std::uint64_t kPauseUsec = 1'000'000;

UniqueFd OpenSpare() {
  return UniqueFd(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace

Acceptor::Acceptor(sd_event* loop, UniqueFd socket, std::string name, std::int64_t priority,
                   Handler on_accept)
    : socket_(std::move(socket)),
      spare_(OpenSpare()),
      name_(std::move(name)),
      on_accept_(std::move(on_accept)) {
  sd_event_source* source = nullptr;
  CheckEvent(sd_event_add_io(loop, &source, socket_.Get(), EPOLLIN, OnReadable, this),
             "watch '" + name_ + "'");
  source_.reset(source);
  CheckEvent(sd_event_source_set_priority(source, priority), "set priority of a listener");
}

int Acceptor::OnReadable(sd_event_source*, int, std::uint32_t, void* self) noexcept {
  auto* acceptor = static_cast<Acceptor*>(self);
  try {
    acceptor->Accept();
  } catch (const std::exception& error) {
    ReportError("connection at " + acceptor->name_ + " dropped: " + error.what());
  }
  return 0;
}

// One connection a wake-up: the loop comes back while more are waiting.
void Acceptor::Accept() {
  UniqueFd socket(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
  if (socket) {
    on_accept_(std::move(socket));
  } else if (errno == EMFILE || errno == ENFILE) {
    TurnAway();
  }
}

// Left in the queue, the connection would wake the loop for ever. Without the
// spare it has to stay there, and the acceptor looks away for a while.
void Acceptor::TurnAway() {
  spare_ = UniqueFd();
  UniqueFd refused(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
  const bool was_taken = bool{refused};
  refused = UniqueFd();
  spare_ = OpenSpare();
  ReportError("connection at " + name_ + (was_taken ? " refused" : " has to wait") +
              ": out of file descriptors");
  if (!was_taken) {
    sd_event_source_set_enabled(source_.get(), SD_EVENT_OFF);
    sd_event_source* pause = nullptr;
    CheckEvent(sd_event_add_time_relative(sd_event_source_get_event(source_.get()), &pause,
                                          CLOCK_MONOTONIC, kPauseUsec, 0, OnPauseOver, this),
               "set a timer");
    pause_.reset(pause);
  }
}

int Acceptor::OnPauseOver(sd_event_source*, std::uint64_t, void* self) noexcept {
  return sd_event_source_set_enabled(static_cast<Acceptor*>(self)->source_.get(), SD_EVENT_ON);
}

}  // namespace ipc
