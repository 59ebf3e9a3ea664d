#include "link_monitor.h"

#include <linux/if.h>
#include <netlink/netlink.h>
#include <netlink/route/link.h>
#include <sys/epoll.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

#include "port.h"

namespace cfm {
namespace {

void Check(int result, const std::string& operation) {
  if (result < 0) {
    throw std::runtime_error(operation + ": " + nl_geterror(result));
  }
}

// RFC 2863 operational states; a driver that knows none shows its carrier.
InterfaceStatus StatusOf(rtnl_link* link) {
  switch (rtnl_link_get_operstate(link)) {
    case IF_OPER_UP:
      return InterfaceStatus::kIsUp;
    case IF_OPER_DOWN:
      return InterfaceStatus::kIsDown;
    case IF_OPER_TESTING:
      return InterfaceStatus::kIsTesting;
    case IF_OPER_DORMANT:
      return InterfaceStatus::kIsDormant;
    case IF_OPER_NOTPRESENT:
      return InterfaceStatus::kIsNotPresent;
    case IF_OPER_LOWERLAYERDOWN:
      return InterfaceStatus::kIsLowerLayerDown;
    default:
      return (rtnl_link_get_flags(link) & IFF_LOWER_UP) != 0 ? InterfaceStatus::kIsUp
                                                             : InterfaceStatus::kIsDown;
  }
}

Link LinkOf(rtnl_link* link) {
  Link result{.index = rtnl_link_get_ifindex(link), .mac = {}, .status = StatusOf(link)};
  const nl_addr* address = rtnl_link_get_addr(link);
  if (address != nullptr && nl_addr_get_len(address) == std::size(result.mac.octets)) {
    const auto* octets = static_cast<const std::uint8_t*>(nl_addr_get_binary_addr(address));
    std::copy_n(octets, std::size(result.mac.octets), std::begin(result.mac.octets));
  }
  return result;
}

}  // namespace

// nl_socket_free
void LinkMonitor::FreeSocket::operator()(nl_sock* socket) const {
  nl_socket_free(socket);
}

LinkMonitor::LinkMonitor(sd_event* loop) : questions_(Connect()), news_(Connect()) {
  Subscribe(loop);
  ReadAll();
}

LinkMonitor::Socket LinkMonitor::Connect() {
  Socket socket(nl_socket_alloc());
  if (!socket) {
    throw std::runtime_error("create a netlink socket: out of memory");
  }
  Check(nl_connect(socket.get(), NETLINK_ROUTE), "connect to rtnetlink");
  return socket;
}

void LinkMonitor::Subscribe(sd_event* loop) {
  nl_socket_disable_seq_check(news_.get());
  Check(nl_socket_set_nonblocking(news_.get()), "make a netlink socket non-blocking");
  Check(nl_socket_add_membership(news_.get(), RTNLGRP_LINK), "subscribe to link changes");
  sd_event_source* source = nullptr;
  ipc::CheckEvent(
      sd_event_add_io(loop, &source, nl_socket_get_fd(news_.get()), EPOLLIN, OnNews, this),
      "watch link changes");
  source_.reset(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, Port::kPriority),
                  "set priority of link changes");
}

const Link* LinkMonitor::Find(const std::string& device) const {
  const auto link = links_.find(device);
  return link == links_.end() ? nullptr : &link->second;
}

int LinkMonitor::Watch(std::function<void()> on_change) {
  watches_.emplace(next_watch_, std::move(on_change));
  return next_watch_++;
}

int LinkMonitor::OnNews(sd_event_source* source, int, std::uint32_t, void* self) noexcept {
  return ipc::DispatchGuarded(source, "link changes", [self] {
    auto* monitor = static_cast<LinkMonitor*>(self);
    monitor->DiscardNews();
    monitor->ReadAll();
    const auto watches = monitor->watches_;
    for (const auto& [number, on_change] : watches) {
      on_change();
    }
  });
}

// The news is only that there is some: all links are read again, so what the
// kernel had to leave out while we were busy (ENOBUFS) is seen as well.
void LinkMonitor::DiscardNews() {
  while (nl_recvmsgs_default(news_.get()) >= 0) {
  }
}

void LinkMonitor::ReadAll() {
  nl_cache* cache = nullptr;
  Check(rtnl_link_alloc_cache(questions_.get(), AF_UNSPEC, &cache), "read the links");
  const std::unique_ptr<nl_cache, decltype(&nl_cache_free)> owner(cache, nl_cache_free);
  std::map<std::string, Link> links;
  for (nl_object* object = nl_cache_get_first(cache); object != nullptr;
       object = nl_cache_get_next(object)) {
    auto* link = reinterpret_cast<rtnl_link*>(object);
    if (const char* name = rtnl_link_get_name(link)) {
      links.emplace(name, LinkOf(link));
    }
  }
  links_ = std::move(links);
}

}  // namespace cfm
