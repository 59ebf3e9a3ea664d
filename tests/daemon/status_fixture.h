// A status handler on the fake platform, with a connection to ConfD.
#ifndef CFM_TESTS_DAEMON_STATUS_FIXTURE_H
#define CFM_TESTS_DAEMON_STATUS_FIXTURE_H

#include <string>
#include <vector>

#include "daemon/death.h"
#include "daemon/fake_client.h"
#include "daemon/fake_confd.h"
#include "daemon/fake_velconfd.h"
#include "daemon/platform_test.h"
#include "daemon/values.h"
#include "status/status.h"

namespace test {

// Stands for the framework, which sets the connection.
class ConnectedStatus : public cfm::Status {
 public:
  using cfm::Status::Status;
  void SetConnection(VelConfdInterface* connection) { confd_ = connection; }
};

class Status : public PlatformTest {
 protected:
  Status() {
    status_.SetConnection(fake::Connection(1));
    fake::Reset();
  }

  static cfm::st_lmep_status LocalStatus() {
    return {{{0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}},
            true,
            cfm::InterfaceStatus::kIsUp,
            cfm::PortStatus::kUp,
            cfm::BlockState::kForwarding,
            0,
            {true, false, true, false, true}};
  }
  static cfm::st_rmep_status RemoteStatus() {
    return {cfm::RMEP_OK,
            100,
            {{0xff, 0xfe, 0x00, 0x01, 0x80, 0x7f}},
            false,
            cfm::PortStatus::kBlocked,
            cfm::InterfaceStatus::kIsDown,
            "chassis 7"};
  }

  // Everything that happened since it was asked last.
  static std::vector<std::string> Happened() {
    std::vector<std::string> events;
    events.swap(fake::Events());
    fake::Logs().clear();
    return events;
  }

  cfm::StatusReceiver receiver_;
  cfm::Client client_{fake::Middleware(), &receiver_};
  ConnectedStatus status_{fake::Category(), &receiver_, &client_};
};

using StatusDeath = Status;

constexpr const char* kOpen = "open operational read=0 connection=1";
constexpr const char* kClose = "close";

}  // namespace test

#endif
