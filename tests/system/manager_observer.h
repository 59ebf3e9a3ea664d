// What the CFM manager holds, seen from a test's event loop.
#ifndef TESTS_SYSTEM_MANAGER_OBSERVER_H
#define TESTS_SYSTEM_MANAGER_OBSERVER_H

#include <systemd/sd-event.h>

#include <filesystem>
#include <memory>

#include "cfm/hierarchy.h"
#include "channel.h"

namespace test {

class ManagerObserver {
 public:
  // Connects; throws std::system_error.
  ManagerObserver(sd_event* loop, const std::filesystem::path& runtime_directory);

  // How many configurations have come in, the first of them at connection.
  int Count() const { return count_; }
  const cfm::Hierarchy& Latest() const { return latest_; }

 private:
  void Take(std::string_view payload);

  int count_ = 0;
  bool welcomed_ = false;
  cfm::Hierarchy latest_;
  std::unique_ptr<ipc::Channel> channel_;
};

}  // namespace test

#endif
