#include "listener.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

#include "log_output.h"
#include "unix_address.h"

namespace ipc {
namespace {

constexpr std::uint64_t kPauseUsec = 1'000'000;

[[noreturn]] void ThrowErrno(const std::filesystem::path& path, const char* operation) {
  throw std::system_error(errno, std::system_category(),
                          std::string(operation) + " '" + path.native() + "'");
}

UniqueFd ListenAt(const std::filesystem::path& path, mode_t mode) {
  const std::filesystem::path unfinished = path.parent_path() / ("." + path.filename().native());
  const UnixAddress address(unfinished);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) {
    ThrowErrno(path, "create socket");
  }
  if (unlink(unfinished.c_str()) < 0 && errno != ENOENT) {
    ThrowErrno(unfinished, "remove");
  }
  if (bind(socket.Get(), address.Get(), address.Size()) < 0) {
    ThrowErrno(unfinished, "bind socket");
  }
  if (chmod(unfinished.c_str(), mode) < 0) {
    ThrowErrno(unfinished, "set mode of");
  }
  if (listen(socket.Get(), SOMAXCONN) < 0) {
    ThrowErrno(path, "listen at");
  }
  if (rename(unfinished.c_str(), path.c_str()) < 0) {
    const int cause = errno;
    unlink(unfinished.c_str());
    errno = cause;
    ThrowErrno(path, "put socket in place at");
  }
  return socket;
}

UniqueFd OpenSpare() {
  return UniqueFd(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace

Listener::Listener(sd_event* loop, std::filesystem::path path, std::int64_t priority,
                   AcceptHandler on_accept, mode_t mode)
    : path_(std::move(path)),
      socket_(ListenAt(path_, mode)),
      spare_(OpenSpare()),
      on_accept_(std::move(on_accept)) {
  sd_event_source* source = nullptr;
  CheckEvent(sd_event_add_io(loop, &source, socket_.Get(), EPOLLIN, OnReadable, this),
             "watch '" + path_.native() + "'");
  source_.reset(source);
  CheckEvent(sd_event_source_set_priority(source, priority), "set priority of a listener");
}

Listener::~Listener() {
  unlink(path_.c_str());
}

int Listener::OnReadable(sd_event_source*, int, std::uint32_t, void* self) noexcept {
  auto* listener = static_cast<Listener*>(self);
  try {
    listener->Accept();
  } catch (const std::exception& error) {
    ReportError("connection at " + listener->path_.native() + " dropped: " + error.what());
  }
  return 0;
}

// One connection a wake-up: the loop comes back while more are waiting.
void Listener::Accept() {
  UniqueFd socket(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
  if (socket) {
    const Peer peer = CredentialsOf(socket.Get());
    on_accept_(std::move(socket), peer);
  } else if (errno == EMFILE || errno == ENFILE) {
    TurnAway();
  }
}

// Left in the queue, the connection would wake the loop for ever. Without the
// spare it has to stay there, and the listener looks away for a while.
void Listener::TurnAway() {
  spare_ = UniqueFd();
  UniqueFd refused(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
  const bool was_taken = bool{refused};
  refused = UniqueFd();
  spare_ = OpenSpare();
  ReportError("connection at " + path_.native() + (was_taken ? " refused" : " has to wait") +
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

int Listener::OnPauseOver(sd_event_source*, std::uint64_t, void* self) noexcept {
  return sd_event_source_set_enabled(static_cast<Listener*>(self)->source_.get(), SD_EVENT_ON);
}

}  // namespace ipc
