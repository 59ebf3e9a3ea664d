#include "packet_socket.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

namespace cfm {
namespace {

constexpr std::uint16_t kCfmEtherType = 0x8902;
constexpr std::size_t kAddressesBytes = 2 * ETH_ALEN;
constexpr std::size_t kTagBytes = 4;
constexpr int kFramesPerWakeUp = 64;

template <typename Value>
void SetOption(int socket, int level, int option, const Value& value, const char* operation) {
  if (setsockopt(socket, level, option, &value, sizeof(value)) < 0) {
    throw std::system_error(errno, std::system_category(), operation);
  }
}

// The kernel takes the outer VLAN tag off before it looks for a socket, and a
// socket for one EtherType is not told what the tag was. So the socket is for
// all frames, and this lets those with our EtherType pass.
void LetOnlyCfmPass(int socket) {
  std::array<sock_filter, 4> program{{
      BPF_STMT(BPF_LD | BPF_H | BPF_ABS, kAddressesBytes),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kCfmEtherType, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, 0xffff),
      BPF_STMT(BPF_RET | BPF_K, 0),
  }};
  const sock_fprog filter{.len = program.size(), .filter = program.data()};
  SetOption(socket, SOL_SOCKET, SO_ATTACH_FILTER, filter, "filter CFM frames");
}

// 01-80-C2-00-00-30 to 3F: continuity check and linktrace, all levels.
void JoinCfmGroups(int socket, int interface_index) {
  for (unsigned char group = 0x30; group <= 0x3f; ++group) {
    const packet_mreq request{.mr_ifindex = interface_index,
                              .mr_type = PACKET_MR_MULTICAST,
                              .mr_alen = ETH_ALEN,
                              .mr_address = {0x01, 0x80, 0xc2, 0x00, 0x00, group}};
    SetOption(socket, SOL_PACKET, PACKET_ADD_MEMBERSHIP, request, "join a CFM group address");
  }
}

ipc::UniqueFd Open(int interface_index) {
  // Without a protocol: it hears nothing before it is filtered and bound.
  ipc::UniqueFd socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) {
    throw std::system_error(errno, std::system_category(), "open a packet socket");
  }
  LetOnlyCfmPass(socket.Get());
  SetOption(socket.Get(), SOL_PACKET, PACKET_AUXDATA, 1, "ask for VLAN tags");
  SetOption(socket.Get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, 1, "leave out our own frames");
  JoinCfmGroups(socket.Get(), interface_index);
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(ETH_P_ALL);
  address.sll_ifindex = interface_index;
  if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) < 0) {
    throw std::system_error(errno, std::system_category(), "bind a packet socket");
  }
  return socket;
}

// The tag that the kernel took off, in network order.
std::optional<std::array<std::uint8_t, kTagBytes>> RemovedTag(msghdr& message) {
  for (cmsghdr* control = CMSG_FIRSTHDR(&message); control != nullptr;
       control = CMSG_NXTHDR(&message, control)) {
    if (control->cmsg_level != SOL_PACKET || control->cmsg_type != PACKET_AUXDATA) {
      continue;
    }
    tpacket_auxdata aux;
    std::memcpy(&aux, CMSG_DATA(control), sizeof(aux));
    if ((aux.tp_status & TP_STATUS_VLAN_VALID) == 0) {
      return std::nullopt;
    }
    const bool has_type = (aux.tp_status & TP_STATUS_VLAN_TPID_VALID) != 0;
    const unsigned type = has_type ? aux.tp_vlan_tpid : ETH_P_8021Q;
    const unsigned tag = aux.tp_vlan_tci;
    return std::array<std::uint8_t, kTagBytes>{
        static_cast<std::uint8_t>(type >> 8), static_cast<std::uint8_t>(type & 0xff),
        static_cast<std::uint8_t>(tag >> 8), static_cast<std::uint8_t>(tag & 0xff)};
  }
  return std::nullopt;
}

// One frame, with its tag where it was on the line. Empty when there is none
// or it is too long for us; `more` tells whether it is worth to read on.
engine::Bytes ReceiveFrame(int socket, bool& more) {
  engine::Bytes bytes(Port::kMaxFrameBytes);
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(tpacket_auxdata))> control;
  iovec data{.iov_base = bytes.data(), .iov_len = bytes.size()};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t size = recvmsg(socket, &message, 0);
  // ENETDOWN is told once when the link goes down; the link monitor knows.
  more = size >= 0;
  if (size < static_cast<ssize_t>(kAddressesBytes) || (message.msg_flags & MSG_TRUNC) != 0) {
    return {};
  }
  bytes.resize(static_cast<std::size_t>(size));
  if (const auto tag = RemovedTag(message)) {
    bytes.insert(bytes.begin() + kAddressesBytes, tag->begin(), tag->end());
  }
  return bytes;
}

}  // namespace

PacketSocket::PacketSocket(sd_event* loop, int interface_index, FrameHandler on_frame)
    : socket_(Open(interface_index)), on_frame_(std::move(on_frame)) {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_io(loop, &source, socket_.Get(), EPOLLIN, OnReadable, this),
                  "watch a packet socket");
  source_.reset(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, Port::kPriority),
                  "set priority of a packet socket");
}

void PacketSocket::Send(engine::ByteView frame) const {
  (void)send(socket_.Get(), frame.data(), frame.size(), MSG_NOSIGNAL);
}

int PacketSocket::OnReadable(sd_event_source* source, int, std::uint32_t, void* self) noexcept {
  return ipc::DispatchGuarded(source, "packet socket",
                              [self] { static_cast<PacketSocket*>(self)->Read(); });
}

void PacketSocket::Read() {
  bool more = true;
  for (int i = 0; i < kFramesPerWakeUp && more; ++i) {
    const engine::Bytes frame = ReceiveFrame(socket_.Get(), more);
    if (!frame.empty()) {
      on_frame_(frame);
    }
  }
}

}  // namespace cfm
