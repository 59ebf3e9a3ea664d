#include "channel.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>
#include <system_error>
#include <utility>

#include "event_source.h"
#include "fail_point.h"
#include "frame.h"

namespace ipc {
namespace {

constexpr std::size_t kChunkBytes = 64U << 10;
// A peer that always has more to say must not keep the loop from the others.
constexpr int kChunksPerWakeUp = 4;

void MakeNonBlocking(int fd) {
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0 || fcntl(fd, F_SETFL, flags | O_NONBLOCK) < 0) {
    throw std::system_error(errno, std::system_category(), "make a socket non-blocking");
  }
}

std::string ErrnoText(const char* operation) {
  return std::string(operation) + ": " + std::strerror(errno);
}

}  // namespace

// Lives until the call-back that is running, if any, has returned: whoever
// enters from the loop holds a reference.
class Channel::Impl : public std::enable_shared_from_this<Channel::Impl> {
 public:
  Impl(sd_event* loop, UniqueFd socket, std::int64_t priority, FrameHandler on_frame,
       CloseHandler on_close);

  void Send(const google::protobuf::MessageLite& message);
  std::size_t QueuedBytes() const { return output_.size() - sent_; }
  void SetDrainHandler(std::function<void()> on_drained) { on_drained_ = std::move(on_drained); }
  void Close();
  void SetReading(bool reading);

 private:
  static int OnSocket(sd_event_source* source, int fd, std::uint32_t events, void* self) noexcept;
  static int OnDeferred(sd_event_source* source, void* self) noexcept;

  void Serve(std::uint32_t events);
  void ServeOutput();
  void ServeInput();
  void Fill();
  void DeliverOne();
  void Flush();
  void WantedEvents();
  void CallSoon();
  void End(const std::string& reason);

  UniqueFd socket_;
  FrameHandler on_frame_;
  CloseHandler on_close_;
  std::function<void()> on_drained_ = [] {};
  FrameDecoder input_;
  std::string output_;
  std::size_t sent_ = 0;  // leading bytes of output_ that the peer has
  bool reading_ = true;
  bool write_failed_ = false;
  // Why no more input comes; frames that came before are still delivered.
  std::optional<std::string> input_end_;
  // Why the connection is over whatever else came.
  std::optional<std::string> failure_;
  EventSource io_;
  EventSource deferred_;
};

Channel::Impl::Impl(sd_event* loop, UniqueFd socket, std::int64_t priority, FrameHandler on_frame,
                    CloseHandler on_close)
    : socket_(std::move(socket)), on_frame_(std::move(on_frame)), on_close_(std::move(on_close)) {
  MakeNonBlocking(socket_.Get());
  sd_event_source* source = nullptr;
  CheckEvent(sd_event_add_io(loop, &source, socket_.Get(), EPOLLIN, OnSocket, this),
             "watch a connection");
  io_.reset(source);
  CheckEvent(sd_event_add_defer(loop, &source, OnDeferred, this), "prepare a deferred call");
  deferred_.reset(source);
  CheckEvent(sd_event_source_set_enabled(source, SD_EVENT_OFF), "disarm a deferred call");
  for (sd_event_source* each : {io_.get(), deferred_.get()}) {
    CheckEvent(sd_event_source_set_priority(each, priority), "set priority of a connection");
  }
}

void Channel::Impl::Send(const google::protobuf::MessageLite& message) {
  if (!socket_ || write_failed_ || failure_) {
    return;
  }
  const bool was_empty = QueuedBytes() == 0;
  AppendFrame(output_, message);
  if (was_empty) {
    Flush();
  }
  if (QueuedBytes() > kMaxQueuedBytes) {
    failure_ = "the peer does not read: " + std::to_string(QueuedBytes()) + " bytes are waiting";
    CallSoon();
  }
  WantedEvents();
}

void Channel::Impl::Close() {
  io_.reset();
  deferred_.reset();
  socket_ = UniqueFd();
}

void Channel::Impl::SetReading(bool reading) {
  if (!socket_ || reading_ == reading) {
    return;
  }
  reading_ = reading;
  if (reading_) {
    CallSoon();  // frames, or the end, may be here already
  }
  WantedEvents();
}

int Channel::Impl::OnSocket(sd_event_source* source, int, std::uint32_t events,
                            void* self) noexcept {
  const auto channel = static_cast<Impl*>(self)->weak_from_this().lock();
  return DispatchGuarded(source, "connection", [&] { channel->Serve(events); });
}

int Channel::Impl::OnDeferred(sd_event_source* source, void* self) noexcept {
  const auto channel = static_cast<Impl*>(self)->weak_from_this().lock();
  return DispatchGuarded(source, "connection", [&] { channel->Serve(0); });
}

void Channel::Impl::Serve(std::uint32_t events) {
  if (failure_) {
    End(*failure_);
    return;
  }
  if ((events & (EPOLLOUT | EPOLLHUP | EPOLLERR)) != 0) {
    ServeOutput();
  }
  if (socket_ && reading_) {
    ServeInput();
  }
  if (socket_) {
    WantedEvents();
  }
}

void Channel::Impl::ServeOutput() {
  const bool had_some = QueuedBytes() > 0;
  Flush();
  if (had_some && QueuedBytes() == 0) {
    on_drained_();
  }
}

// One frame a turn, so that sources of a lower priority value come between.
void Channel::Impl::ServeInput() {
  if (!input_.HasNext() && !input_end_) {
    Fill();
  }
  if (input_.HasNext()) {
    DeliverOne();
  } else if (input_end_) {
    End(input_.HasPartialFrame() ? *input_end_ + " within a frame" : *input_end_);
  }
  if (socket_ && reading_ && (input_.HasNext() || input_end_)) {
    CallSoon();
  }
}

void Channel::Impl::DeliverOne() {
  std::optional<std::string> error;
  try {
    on_frame_(*input_.Next());
  } catch (const std::exception& thrown) {
    error = thrown.what();
  }
  if (error && socket_) {
    End(*error);
  }
}

void Channel::Impl::Fill() {
  std::array<char, kChunkBytes> chunk;
  for (int i = 0; i < kChunksPerWakeUp && !input_.HasNext(); ++i) {
    const ssize_t count = CFM_FAIL_POINT_TRANSFER(
        channel_receive, chunk.size(),
        [&](std::size_t part) { return recv(socket_.Get(), chunk.data(), part, 0); });
    if (count > 0) {
      input_.Append({chunk.data(), static_cast<std::size_t>(count)});
    } else if (count == 0) {
      input_end_ = "closed by the peer";
      return;
    } else if (errno == EAGAIN && write_failed_) {
      input_end_ = "the peer no longer reads";
      return;
    } else if (errno != EAGAIN && errno != EINTR) {
      input_end_ = ErrnoText("receive");
      return;
    } else {
      return;
    }
  }
}

void Channel::Impl::Flush() {
  while (QueuedBytes() > 0) {
    const ssize_t count =
        CFM_FAIL_POINT_TRANSFER(channel_send, QueuedBytes(), [&](std::size_t part) {
          return send(socket_.Get(), output_.data() + sent_, part, MSG_NOSIGNAL);
        });
    if (count >= 0) {
      sent_ += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      break;
    } else if (errno != EINTR) {
      // What the peer sent before it went is still worth reading.
      write_failed_ = true;
      sent_ = output_.size();
      CallSoon();
    }
  }
  if (sent_ > output_.size() / 2) {
    output_.erase(0, sent_);
    sent_ = 0;
  }
}

// A source that wants nothing is off: a hung-up peer would wake it for ever.
void Channel::Impl::WantedEvents() {
  const std::uint32_t input = reading_ && !input_end_ ? std::uint32_t{EPOLLIN} : 0U;
  const std::uint32_t output = QueuedBytes() > 0 ? std::uint32_t{EPOLLOUT} : 0U;
  if ((input | output) != 0) {
    sd_event_source_set_io_events(io_.get(), input | output);
  }
  sd_event_source_set_enabled(io_.get(), (input | output) != 0 ? SD_EVENT_ON : SD_EVENT_OFF);
}

void Channel::Impl::CallSoon() {
  sd_event_source_set_enabled(deferred_.get(), SD_EVENT_ONESHOT);
}

void Channel::Impl::End(const std::string& reason) {
  Close();
  on_close_(reason);
}

Channel::Channel(sd_event* loop, UniqueFd socket, std::int64_t priority, FrameHandler on_frame,
                 CloseHandler on_close)
    : impl_(std::make_shared<Impl>(loop, std::move(socket), priority, std::move(on_frame),
                                   std::move(on_close))) {}

Channel::~Channel() {
  impl_->Close();
}

void Channel::Send(const google::protobuf::MessageLite& message) {
  impl_->Send(message);
}

std::size_t Channel::QueuedBytes() const {
  return impl_->QueuedBytes();
}

void Channel::SetDrainHandler(std::function<void()> on_drained) {
  impl_->SetDrainHandler(std::move(on_drained));
}

void Channel::Close() {
  impl_->Close();
}

void Channel::SetReading(bool reading) {
  impl_->SetReading(reading);
}

}  // namespace ipc
