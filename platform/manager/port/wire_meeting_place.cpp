#include "wire_meeting_place.h"

#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "port.h"
#include "unix_address.h"

namespace cfm {
namespace {

constexpr std::uint32_t kNameChanged = IN_CREATE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM;
constexpr std::uint32_t kDirectoryGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;
constexpr int kBacklog = 4;

[[noreturn]] void ThrowErrno(const std::string& operation) {
  throw std::system_error(errno, std::system_category(), operation);
}

ipc::UniqueFd MakeSocket() {
  ipc::UniqueFd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) {
    ThrowErrno("create the socket of a wire");
  }
  return socket;
}

}  // namespace

WireMeetingPlace::WireMeetingPlace(sd_event* loop, std::filesystem::path path, Handlers handlers)
    : loop_(loop),
      path_(std::move(path)),
      cut_(path_.native() + ".cut"),
      handlers_(std::move(handlers)) {}

bool WireMeetingPlace::Watch() {
  if (watch_) {
    return true;
  }
  const std::filesystem::path directory = path_.has_parent_path() ? path_.parent_path() : ".";
  sd_event_source* source = nullptr;
  if (sd_event_add_inotify(loop_, &source, directory.c_str(),
                           kNameChanged | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR,
                           OnDirectoryChange, this) < 0) {
    return false;
  }
  watch_.reset(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, Port::kPriority), "set priority of a watch");
  return true;
}

bool WireMeetingPlace::IsCut() const {
  std::error_code ignored;
  return std::filesystem::exists(cut_, ignored);
}

std::optional<WireMeetingPlace::FileId> WireMeetingPlace::WhatIsThere() const {
  struct stat status {};
  if (lstat(path_.c_str(), &status) < 0) {
    if (errno == ENOENT) {
      return std::nullopt;
    }
    ThrowErrno("look at wire '" + path_.native() + "'");
  }
  if (!S_ISSOCK(status.st_mode)) {
    errno = ENOTSOCK;
    ThrowErrno("use '" + path_.native() + "' as a wire: remove it or name another path");
  }
  return FileId{status.st_dev, status.st_ino};
}

bool WireMeetingPlace::Listens() const {
  return listener_ && WhatIsThere() == listener_id_;
}

std::optional<ipc::UniqueFd> WireMeetingPlace::Connect() const {
  if (!WhatIsThere()) {
    return std::nullopt;
  }
  const ipc::UnixAddress address(path_);
  ipc::UniqueFd socket = MakeSocket();
  if (connect(socket.Get(), address.Get(), address.Size()) == 0) {
    return socket;
  }
  if (errno == ECONNREFUSED || errno == ENOENT) {
    return std::nullopt;  // whoever listened here has died
  }
  ThrowErrno("connect to wire '" + path_.native() + "'");
}

// The path appears once the socket listens: whoever sees it can connect.
void WireMeetingPlace::Listen() {
  static unsigned count = 0;
  const std::filesystem::path own = fmt::format("{}.{}-{}", path_.native(), getpid(), count++);
  const ipc::UnixAddress address(own);
  ipc::UniqueFd socket = MakeSocket();
  unlink(own.c_str());
  struct stat status {};
  if (bind(socket.Get(), address.Get(), address.Size()) < 0 || listen(socket.Get(), kBacklog) < 0 ||
      lstat(own.c_str(), &status) < 0 || rename(own.c_str(), path_.c_str()) < 0) {
    const std::system_error error(errno, std::system_category(),
                                  "listen at wire '" + path_.native() + "'");
    unlink(own.c_str());
    throw error;
  }
  listener_ = std::move(socket);
  listener_id_ = {status.st_dev, status.st_ino};
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_io(loop_, &source, listener_.Get(), EPOLLIN, OnVisitor, this),
                  "watch a wire");
  listener_source_.reset(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, Port::kPriority), "set priority of a wire");
}

void WireMeetingPlace::Leave() {
  struct stat status {};
  if (listener_ && lstat(path_.c_str(), &status) == 0 &&
      FileId{status.st_dev, status.st_ino} == listener_id_) {
    unlink(path_.c_str());
  }
  listener_source_.reset();
  listener_ = ipc::UniqueFd();
}

int WireMeetingPlace::OnVisitor(sd_event_source* source, int, std::uint32_t, void* self) noexcept {
  return ipc::DispatchGuarded(source, "wire",
                              [self] { static_cast<WireMeetingPlace*>(self)->Accept(); });
}

void WireMeetingPlace::Accept() {
  ipc::UniqueFd socket(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (socket) {
    handlers_.on_visitor(std::move(socket));
  }
}

int WireMeetingPlace::OnDirectoryChange(sd_event_source* source, const inotify_event* event,
                                        void* self) noexcept {
  return ipc::DispatchGuarded(
      source, "wire", [self, event] { static_cast<WireMeetingPlace*>(self)->Look(*event); });
}

void WireMeetingPlace::Look(const inotify_event& event) {
  if ((event.mask & kDirectoryGone) != 0) {
    watch_.reset();
    handlers_.on_change();
    return;
  }
  const std::string_view name = event.len > 0 ? event.name : "";
  if ((event.mask & IN_Q_OVERFLOW) != 0 || name == path_.filename().native() ||
      name == cut_.filename().native()) {
    handlers_.on_change();
  }
}

}  // namespace cfm
