#include <sys/inotify.h>

#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include "connect.h"
#include "event_source.h"

namespace ipc {
namespace {

constexpr std::uint64_t kRetryUsec = 1'000'000;
constexpr std::uint32_t kAppeared = IN_MOVED_TO | IN_CREATE;
constexpr std::uint32_t kDirectoryGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;

}  // namespace

class SocketWatch::Impl {
 public:
  Impl(sd_event* loop, const std::filesystem::path& path, std::int64_t priority,
       std::function<void()> on_candidate)
      : loop_(loop),
        directory_(path.has_parent_path() ? path.parent_path() : "."),
        name_(path.filename()),
        priority_(priority),
        on_candidate_(std::move(on_candidate)) {}

  void Start() {
    Stop();
    if (!WatchDirectory()) {
      RetryLater();
    }
    AnnounceSoon();
  }

  void Stop() {
    soon_.reset();
    retry_.reset();
    watch_.reset();
  }

 private:
  EventSource Own(sd_event_source* source) const {
    EventSource owned(source);
    CheckEvent(sd_event_source_set_priority(source, priority_), "set priority of a watch");
    return owned;
  }

  bool WatchDirectory() {
    sd_event_source* source = nullptr;
    const int result = sd_event_add_inotify(loop_, &source, directory_.c_str(),
                                            kAppeared | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR,
                                            OnChange, this);
    if (result < 0) {
      return false;
    }
    watch_ = Own(source);
    return true;
  }

  void RetryLater() {
    sd_event_source* source = nullptr;
    CheckEvent(
        sd_event_add_time_relative(loop_, &source, CLOCK_MONOTONIC, kRetryUsec, 0, OnRetry, this),
        "set a timer");
    retry_ = Own(source);
  }

  void AnnounceSoon() {
    sd_event_source* source = nullptr;
    CheckEvent(sd_event_add_defer(loop_, &source, OnSoon, this), "defer a call");
    soon_ = Own(source);
  }

  // The call-back may stop or destroy the watch: nothing of it is used after.
  static void Announce(Impl& watch) {
    const auto call = watch.on_candidate_;
    call();
  }

  template <typename Step>
  static int Guard(sd_event_source* source, void* self, Step step) noexcept {
    return DispatchGuarded(source, "watch for a socket failed",
                           [self, step] { step(*static_cast<Impl*>(self)); });
  }

  static int OnSoon(sd_event_source* source, void* self) noexcept {
    return Guard(source, self, [](Impl& watch) {
      watch.soon_.reset();
      Announce(watch);
    });
  }

  static int OnRetry(sd_event_source* source, std::uint64_t, void* self) noexcept {
    return Guard(source, self, [](Impl& watch) {
      watch.retry_.reset();
      if (watch.WatchDirectory()) {
        Announce(watch);  // it may have come before the watch
      } else {
        watch.RetryLater();
      }
    });
  }

  static int OnChange(sd_event_source* source, const inotify_event* event, void* self) noexcept {
    return Guard(source, self, [event](Impl& watch) { watch.Change(*event); });
  }

  void Change(const inotify_event& event) {
    if ((event.mask & kDirectoryGone) != 0) {
      watch_.reset();
      RetryLater();
      return;
    }
    const bool named = event.len > 0 && std::string_view(event.name) == name_;
    if ((event.mask & IN_Q_OVERFLOW) != 0 || ((event.mask & kAppeared) != 0 && named)) {
      Announce(*this);
    }
  }

  sd_event* loop_;
  std::filesystem::path directory_;
  std::string name_;
  std::int64_t priority_;
  std::function<void()> on_candidate_;
  EventSource soon_;
  EventSource retry_;
  EventSource watch_;
};

SocketWatch::SocketWatch(sd_event* loop, std::filesystem::path path, std::int64_t priority,
                         std::function<void()> on_candidate)
    : impl_(std::make_unique<Impl>(loop, path, priority, std::move(on_candidate))) {}

SocketWatch::~SocketWatch() = default;

void SocketWatch::Start() {
  impl_->Start();
}

void SocketWatch::Stop() {
  impl_->Stop();
}

}  // namespace ipc
