#include "wire_end.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

namespace cfm {
namespace {

constexpr std::string_view kGreeting = "cfm wire 1";
// An end that always has more to say must not keep the loop from the others.
constexpr int kPacketsPerWakeUp = 64;

}  // namespace

WireEnd::WireEnd(sd_event* loop, ipc::UniqueFd socket, Handlers handlers)
    : socket_(std::move(socket)), handlers_(std::move(handlers)) {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_io(loop, &source, socket_.Get(), EPOLLIN, OnReadable, this),
                  "watch a wire");
  source_.reset(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, Port::kPriority), "set priority of a wire");
  // Nothing can be in the way of the first packet, but for a peer that is gone:
  // then the next read tells.
  (void)send(socket_.Get(), kGreeting.data(), kGreeting.size(), MSG_NOSIGNAL);
}

void WireEnd::Send(engine::ByteView frame) const {
  if (greeted_) {
    (void)send(socket_.Get(), frame.data(), frame.size(), MSG_NOSIGNAL);
  }
}

int WireEnd::OnReadable(sd_event_source* source, int, std::uint32_t, void* self) noexcept {
  return ipc::DispatchGuarded(source, "wire", [self] { static_cast<WireEnd*>(self)->Read(); });
}

void WireEnd::Read() {
  for (int i = 0; i < kPacketsPerWakeUp; ++i) {
    if (!ReadPacket()) {
      return;
    }
  }
}

bool WireEnd::ReadPacket() {
  std::array<std::uint8_t, Port::kMaxFrameBytes> packet;
  const ssize_t count = recv(socket_.Get(), packet.data(), packet.size(), MSG_TRUNC);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
    return false;
  }
  // A peer that goes leaves an error behind when it has not read everything.
  if (count <= 0) {
    return End(greeted_ ? "the other end is gone" : "the other end does not want us");
  }
  const auto size = static_cast<std::size_t>(count);
  if (greeted_) {
    if (size <= packet.size()) {
      handlers_.on_frame({packet.data(), size});
    }
    return true;
  }
  if (!std::equal(kGreeting.begin(), kGreeting.end(), packet.begin(),
                  packet.begin() + static_cast<std::ptrdiff_t>(std::min(size, packet.size())))) {
    return End("the other end is no wire of this kind");
  }
  greeted_ = true;
  handlers_.on_greeted();
  return true;
}

bool WireEnd::End(const std::string& reason) {
  source_.reset();
  const auto on_end = std::move(handlers_.on_end);
  on_end(reason);  // may have destroyed us
  return false;
}

}  // namespace cfm
