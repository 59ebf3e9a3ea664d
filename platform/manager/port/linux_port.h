// A Linux interface as a port.
#ifndef CFM_MANAGER_LINUX_PORT_H
#define CFM_MANAGER_LINUX_PORT_H

#include <systemd/sd-event.h>

#include <optional>
#include <string>

#include "link_monitor.h"
#include "log_category.h"
#include "packet_socket.h"
#include "port.h"

namespace cfm {

// Follows its device, also when that goes away and comes back. Without the
// right to open packet sockets the port is down.
class LinuxPort : public Port {
 public:
  struct Place {
    std::string name;  // of the port, for the log
    std::string device;
  };

  // `links` outlives the port.
  LinuxPort(sd_event* loop, LinkMonitor& links, Place place, const LogCategory& log,
            Handlers handlers);
  ~LinuxPort() override { links_.Forget(watch_); }

  std::optional<engine::PortFacts> Facts() const override { return facts_; }
  void Send(engine::ByteView frame) override;

 private:
  // Returns whether the facts have changed.
  bool Follow();
  void Open(int index);
  void Report(const std::string& state);

  sd_event* loop_;
  LinkMonitor& links_;
  Place place_;
  LogCategory log_;
  Handlers handlers_;
  int index_ = 0;  // of the device that socket_ is for; 0: none
  std::optional<PacketSocket> socket_;
  std::string problem_;  // why there is no socket
  std::string reported_;
  std::optional<engine::PortFacts> facts_;
  int watch_;
};

}  // namespace cfm

#endif
