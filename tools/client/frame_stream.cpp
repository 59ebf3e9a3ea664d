#include "frame_stream.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "poll_readable.h"

namespace cfmctl {
FrameStream::FrameStream(ipc::UniqueFd socket, std::chrono::milliseconds send_timeout)
    : socket_(std::move(socket)) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(send_timeout);
  const timeval timeout{seconds.count(), std::chrono::microseconds(send_timeout - seconds).count()};
  if (setsockopt(socket_.Get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout) < 0) {
    throw std::system_error(errno, std::system_category(), "limit the time of sending");
  }
}

void FrameStream::Send(const google::protobuf::MessageLite& message) {
  try {
    ipc::SendFrame(socket_.Get(), message);
  } catch (const std::system_error& error) {
    // The peer is gone; what it said before, and that it is gone, is for
    // Receive to tell.
    if (error.code() != std::errc::broken_pipe) {
      throw;
    }
  }
}

FrameStream::Outcome FrameStream::Receive(google::protobuf::MessageLite& message,
                                          const Deadline& deadline) {
  while (true) {
    if (const auto payload = decoder_.Next()) {
      ipc::ParsePayload(*payload, message);
      return Outcome::kMessage;
    }
    if (!PollReadable({socket_.Get()}, deadline)) {
      return Outcome::kTimedOut;
    }
    if (!ReadMore()) {
      return Outcome::kClosed;
    }
  }
}

bool FrameStream::ReadMore() {
  std::array<char, 64 * 1024> buffer;
  const ssize_t count = recv(socket_.Get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (count > 0) {
    decoder_.Append({buffer.data(), static_cast<std::size_t>(count)});
    return true;
  }
  if (count == 0 || errno == ECONNRESET) {
    return false;
  }
  if (errno == EINTR || errno == EAGAIN) {
    return true;
  }
  throw std::system_error(errno, std::system_category(), "receive");
}

}  // namespace cfmctl
