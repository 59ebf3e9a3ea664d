// Frames on a stream socket: a 32-bit big-endian length, then that many bytes
// of one protobuf message.
#ifndef IPC_FRAME_H
#define IPC_FRAME_H

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace google::protobuf {
class MessageLite;
}

namespace ipc {

// No peer has reason to send more; a longer frame is garbage.
inline constexpr std::uint32_t kMaxFrameBytes = 64U << 20;

// The peer sent what is no frame, or no message of the protocol.
class ProtocolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Appends the frame of `message`. Throws ProtocolError, and appends nothing,
// when no peer would take it: it is too long, or a text in it is not UTF-8.
void AppendFrame(std::string& out, const google::protobuf::MessageLite& message);

// Cuts a byte stream into frames.
class FrameDecoder {
 public:
  void Append(std::string_view bytes);
  // Payload of the next whole frame, valid until the next call of either
  // operation; nothing when more bytes are needed. Throws ProtocolError for a
  // length beyond kMaxFrameBytes.
  std::optional<std::string_view> Next();
  // Whether Next has a frame, or a reason to throw, without more bytes.
  bool HasNext() const;
  // Bytes of a frame that is not whole yet.
  bool HasPartialFrame() const { return buffer_.size() > consumed_; }

 private:
  std::string buffer_;
  std::size_t consumed_ = 0;  // leading bytes of buffer_ that Next has handed out
};

// Parses a payload. Throws ProtocolError naming the message type, and what
// protobuf says about it.
void ParsePayload(std::string_view payload, google::protobuf::MessageLite& message);

// Blocking transfer on a socket. SendFrame throws std::system_error (EPIPE
// when the peer is gone, never SIGPIPE), and what AppendFrame throws. ReceiveFrame returns false
// when the peer closed between two frames; it throws ProtocolError for a cut-off or oversized frame
// or one that is no such message, std::system_error otherwise.
void SendFrame(int fd, const google::protobuf::MessageLite& message);
bool ReceiveFrame(int fd, google::protobuf::MessageLite& message);

}  // namespace ipc

#endif
