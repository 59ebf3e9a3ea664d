// A look at the hierarchy that the CFM manager holds.
#ifndef TOOLS_CLIENT_MANAGER_OBSERVER_H
#define TOOLS_CLIENT_MANAGER_OBSERVER_H

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "cfm/hierarchy.h"
#include "open_stream.h"

namespace cfmctl {

struct HeldHierarchy {
  std::uint64_t number = 0;  // the configuring client's count; 0: none was given yet
  cfm::Hierarchy hierarchy;
};

class ManagerObserver {
 public:
  // Connects and is welcomed. Throws Failure: kUnreachable, kRefused,
  // kTimedOut.
  ManagerObserver(const std::filesystem::path& socket, std::chrono::milliseconds timeout);

  // What the manager holds, at first and after each change; nothing when the
  // deadline passes. Throws Failure when the manager goes away or holds what
  // cannot be understood.
  std::optional<HeldHierarchy> Next(const Deadline& deadline);
  // What the manager could not use, as far as received.
  const std::vector<std::string>& Warnings() const { return warnings_; }
  int Fd() const { return stream_.Fd(); }

 private:
  Listener listener_;
  FrameStream stream_;
  std::vector<std::string> warnings_;
};

}  // namespace cfmctl

#endif
