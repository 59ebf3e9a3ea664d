// A virtual wire: two elements of one machine that name the same path in their
// interface tables. Whoever comes first listens there, the other connects; the
// link is up while both are there. Either may end, in any way, and come back.
//
// A file beside it, `<path>.cut`, cuts the wire for as long as it exists.
#ifndef CFM_MANAGER_WIRE_PORT_H
#define CFM_MANAGER_WIRE_PORT_H

#include <systemd/sd-event.h>

#include <filesystem>
#include <memory>
#include <string>

#include "log_category.h"
#include "port.h"
#include "wire_end.h"
#include "wire_meeting_place.h"

namespace cfm {

class WirePort : public Port {
 public:
  struct Place {
    std::string name;  // of the port, for the log
    std::filesystem::path path;
    st_mac mac{};
  };

  // Throws std::system_error when the loop takes no more sources.
  WirePort(sd_event* loop, Place place, const LogCategory& log, Handlers handlers);

  std::optional<engine::PortFacts> Facts() const override;
  void Send(engine::ByteView frame) override;

 private:
  static int OnRetryTime(sd_event_source* source, std::uint64_t usec, void* self) noexcept;

  // Does what is to be done to meet the other end, as things are now.
  void Seek();
  void SeekLater();
  void Take(ipc::UniqueFd socket);
  void OnGreeted();
  void OnEnd(const std::string& reason);
  void Part();
  void ReportTrouble(const std::string& text);

  sd_event* loop_;
  Place place_;
  LogCategory log_;
  Handlers handlers_;
  bool is_up_ = false;
  std::string trouble_;  // logged last
  ipc::EventSource retry_;
  std::unique_ptr<WireEnd> end_;  // null: nobody is there
  WireMeetingPlace meeting_place_;
};

}  // namespace cfm

#endif
