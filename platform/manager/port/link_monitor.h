// The Linux interfaces of this machine and their links, through rtnetlink.
#ifndef CFM_MANAGER_LINK_MONITOR_H
#define CFM_MANAGER_LINK_MONITOR_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "cfm/records.h"
#include "event_source.h"

struct nl_sock;

namespace cfm {

struct Link {
  int index = 0;
  st_mac mac{};
  InterfaceStatus status = InterfaceStatus::kNoTlv;
};

class LinkMonitor {
 public:
  // Throws std::runtime_error naming what rtnetlink refused.
  explicit LinkMonitor(sd_event* loop);

  LinkMonitor(const LinkMonitor&) = delete;
  LinkMonitor& operator=(const LinkMonitor&) = delete;

  // Null when there is no such device; until the next change.
  const Link* Find(const std::string& device) const;
  // Calls back from the loop after any link may have changed. Returns a number
  // for Forget.
  int Watch(std::function<void()> on_change);
  void Forget(int watch) { watches_.erase(watch); }

 private:
  struct FreeSocket {
    void operator()(nl_sock* socket) const;
  };
  using Socket = std::unique_ptr<nl_sock, FreeSocket>;

  static Socket Connect();
  static int OnNews(sd_event_source* source, int fd, std::uint32_t events, void* self) noexcept;
  void Subscribe(sd_event* loop);
  void DiscardNews();
  void ReadAll();

  Socket questions_;
  Socket news_;
  ipc::EventSource source_;
  std::map<std::string, Link> links_;
  std::map<int, std::function<void()>> watches_;
  int next_watch_ = 1;
};

}  // namespace cfm

#endif
