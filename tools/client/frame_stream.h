// Frames on a blocking socket, received with a deadline.
#ifndef TOOLS_CLIENT_FRAME_STREAM_H
#define TOOLS_CLIENT_FRAME_STREAM_H

#include <chrono>

#include "deadline.h"
#include "frame.h"
#include "unique_fd.h"

namespace cfmctl {

class FrameStream {
 public:
  // A peer that takes nothing for `send_timeout` fails Send with EAGAIN.
  FrameStream(ipc::UniqueFd socket, std::chrono::milliseconds send_timeout);

  // That the peer is gone is no error here: Receive tells, after what the peer
  // said before. Throws std::system_error or ipc::ProtocolError.
  void Send(const google::protobuf::MessageLite& message);

  enum class Outcome { kMessage, kClosed, kTimedOut };
  // Awaits one message. A deadline that has passed takes what is there. Throws
  // std::system_error or ipc::ProtocolError.
  Outcome Receive(google::protobuf::MessageLite& message, const Deadline& deadline);

  int Fd() const { return socket_.Get(); }

 private:
  bool ReadMore();  // false: the peer closed

  ipc::UniqueFd socket_;
  ipc::FrameDecoder decoder_;
};

}  // namespace cfmctl

#endif
