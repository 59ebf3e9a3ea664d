// The path at which the two ends of a wire meet.
//
// Two that come at the same time may both think that they are the first. The
// path then belongs to the one that came last; the other sees that, because it
// watches the directory, and connects.
#ifndef CFM_MANAGER_WIRE_MEETING_PLACE_H
#define CFM_MANAGER_WIRE_MEETING_PLACE_H

#include <sys/types.h>
#include <systemd/sd-event.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "event_source.h"
#include "unique_fd.h"

namespace cfm {

class WireMeetingPlace {
 public:
  // Called from the loop.
  struct Handlers {
    // Somebody connected to the path where we listen.
    std::function<void(ipc::UniqueFd socket)> on_visitor;
    // It is worth another look at the path.
    std::function<void()> on_change;
  };

  WireMeetingPlace(sd_event* loop, std::filesystem::path path, Handlers handlers);
  // Leaves nothing of ours behind.
  ~WireMeetingPlace() { Leave(); }

  WireMeetingPlace(const WireMeetingPlace&) = delete;
  WireMeetingPlace& operator=(const WireMeetingPlace&) = delete;

  // False when the directory cannot be watched, now or any more.
  bool Watch();
  bool IsCut() const;
  // Whether we listen and the path is still ours.
  bool Listens() const;
  // Connects to whoever listens; empty when nobody does. Throws
  // std::system_error for anything that is in the way.
  std::optional<ipc::UniqueFd> Connect() const;
  // Throws std::system_error.
  void Listen();
  // Stops listening, and removes the path when it is ours.
  void Leave();

 private:
  struct FileId {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileId&) const = default;
  };

  static int OnVisitor(sd_event_source* source, int fd, std::uint32_t events, void* self) noexcept;
  static int OnDirectoryChange(sd_event_source* source, const inotify_event* event,
                               void* self) noexcept;
  // Empty when nothing is there. Throws std::system_error for what is not a
  // socket.
  std::optional<FileId> WhatIsThere() const;
  void Accept();
  void Look(const inotify_event& event);

  sd_event* loop_;
  std::filesystem::path path_;
  std::filesystem::path cut_;
  Handlers handlers_;
  ipc::EventSource watch_;
  ipc::UniqueFd listener_;
  FileId listener_id_;
  ipc::EventSource listener_source_;
};

}  // namespace cfm

#endif
