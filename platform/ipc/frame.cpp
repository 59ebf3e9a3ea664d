#include "frame.h"

#include <google/protobuf/message_lite.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "fail_point.h"
#include "protobuf_complaints.h"

namespace ipc {
namespace {

constexpr std::size_t kHeaderBytes = 4;
// A receiver's memory grows with what has come, not with what was announced.
constexpr std::size_t kReceiveStep = 1U << 20;

std::uint32_t DecodeLength(const char* header) {
  std::uint32_t length = 0;
  for (std::size_t i = 0; i < kHeaderBytes; ++i) {
    length = length << 8 | static_cast<unsigned char>(header[i]);
  }
  return length;
}

std::uint32_t CheckedLength(const char* header) {
  const std::uint32_t length = DecodeLength(header);
  if (length > kMaxFrameBytes) {
    throw ProtocolError("frame of " + std::to_string(length) + " bytes announced, at most " +
                        std::to_string(kMaxFrameBytes) + " are allowed");
  }
  return length;
}

// Reads `size` bytes, fewer only at the end of the stream.
std::size_t ReceiveBytes(int fd, char* data, std::size_t size) {
  std::size_t received = 0;
  while (received < size) {
    const ssize_t count = CFM_FAIL_POINT_TRANSFER(
        frame_receive, size - received,
        [&](std::size_t part) { return recv(fd, data + received, part, 0); });
    if (count == 0) {
      break;
    }
    if (count > 0) {
      received += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::system_category(), "receive a frame");
    }
  }
  return received;
}

[[noreturn]] void ThrowCutOff() {
  throw ProtocolError("closed by the peer within a frame");
}

}  // namespace

void AppendFrame(std::string& out, const google::protobuf::MessageLite& message) {
  const std::size_t length = message.ByteSizeLong();
  if (length > kMaxFrameBytes) {
    throw ProtocolError(message.GetTypeName() + " of " + std::to_string(length) +
                        " bytes does not fit a frame of " + std::to_string(kMaxFrameBytes));
  }
  const std::size_t begin = out.size();
  for (int shift = 24; shift >= 0; shift -= 8) {
    out.push_back(static_cast<char>(length >> shift & 0xff));
  }
  const ProtobufComplaints complaints;
  message.AppendPartialToString(&out);
  if (complaints.HasSome()) {
    out.resize(begin);
    throw ProtocolError(message.GetTypeName() + " cannot be sent" + complaints.Text());
  }
}

void FrameDecoder::Append(std::string_view bytes) {
  buffer_.erase(0, consumed_);
  consumed_ = 0;
  buffer_.append(bytes);
}

bool FrameDecoder::HasNext() const {
  const std::size_t available = buffer_.size() - consumed_;
  if (available < kHeaderBytes) {
    return false;
  }
  const std::uint32_t length = DecodeLength(buffer_.data() + consumed_);
  return length > kMaxFrameBytes || available - kHeaderBytes >= length;
}

std::optional<std::string_view> FrameDecoder::Next() {
  if (!HasNext()) {
    return std::nullopt;
  }
  const char* frame = buffer_.data() + consumed_;
  const std::uint32_t length = CheckedLength(frame);
  consumed_ += kHeaderBytes + length;
  return std::string_view(frame + kHeaderBytes, length);
}

void ParsePayload(std::string_view payload, google::protobuf::MessageLite& message) {
  const ProtobufComplaints complaints;
  if (!message.ParseFromArray(payload.data(), static_cast<int>(payload.size()))) {
    throw ProtocolError("frame of " + std::to_string(payload.size()) + " bytes is no " +
                        message.GetTypeName() + complaints.Text());
  }
}

void SendFrame(int fd, const google::protobuf::MessageLite& message) {
  std::string frame;
  AppendFrame(frame, message);
  std::size_t sent = 0;
  while (sent < frame.size()) {
    const ssize_t count = CFM_FAIL_POINT_TRANSFER(
        frame_send, frame.size() - sent,
        [&](std::size_t part) { return send(fd, frame.data() + sent, part, MSG_NOSIGNAL); });
    if (count >= 0) {
      sent += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::system_category(), "send " + message.GetTypeName());
    }
  }
}

bool ReceiveFrame(int fd, google::protobuf::MessageLite& message) {
  std::array<char, kHeaderBytes> header{};
  const std::size_t header_bytes = ReceiveBytes(fd, header.data(), header.size());
  if (header_bytes == 0) {
    return false;
  }
  if (header_bytes < header.size()) {
    ThrowCutOff();
  }
  const std::uint32_t length = CheckedLength(header.data());
  std::string payload;
  while (payload.size() < length) {
    const std::size_t have = payload.size();
    const std::size_t step = std::min(kReceiveStep, length - have);
    payload.resize(have + step);
    if (ReceiveBytes(fd, payload.data() + have, step) < step) {
      ThrowCutOff();
    }
  }
  ParsePayload(payload, message);
  return true;
}

}  // namespace ipc
