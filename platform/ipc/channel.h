// One connection in an event loop: whole frames in, queued frames out.
#ifndef IPC_CHANNEL_H
#define IPC_CHANNEL_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "unique_fd.h"

namespace google::protobuf {
class MessageLite;
}

namespace ipc {

class Channel {
 public:
  // Payload of one frame, valid during the call. A ProtocolError (or any other
  // exception) that it throws closes the connection. The loop serves sources
  // of lower priority value between two frames.
  using FrameHandler = std::function<void(std::string_view payload)>;
  // The connection is over; `reason` says why, for a log line. Called once,
  // never from inside Send, and not after Close. The handler may destroy the
  // channel; so may the frame handler.
  using CloseHandler = std::function<void(const std::string& reason)>;

  // The socket is made non-blocking. Lower `priority` is served first (see
  // sd_event_source_set_priority). Throws std::system_error.
  Channel(sd_event* loop, UniqueFd socket, std::int64_t priority, FrameHandler on_frame,
          CloseHandler on_close);
  ~Channel();

  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  // Queues a frame; never blocks. A peer that leaves more than
  // kMaxQueuedBytes unread is closed. Nothing happens on a closed channel.
  // Throws ProtocolError, and queues nothing, when no peer would take the frame
  // (see AppendFrame).
  void Send(const google::protobuf::MessageLite& message);
  std::size_t QueuedBytes() const;
  // Calls back from the loop each time that bytes were queued and the last of
  // them has left, or never will. The handler may destroy the channel.
  void SetDrainHandler(std::function<void()> on_drained);
  // Stops reading and calling back, and closes at once.
  void Close();
  // Stops (false) or resumes (true) taking frames from the peer. The end of
  // the connection is seen only while frames are taken.
  void SetReading(bool reading);

  static constexpr std::size_t kMaxQueuedBytes = 256U << 20;

 private:
  class Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace ipc

#endif
