#include "applied_observer.h"

#include <manager.pb.h>

#include "await.h"
#include "connect.h"
#include "frame.h"

namespace bench {

AppliedObserver::AppliedObserver(Loop& loop, const std::filesystem::path& runtime_directory)
    : channel_(
          loop.Get(), ipc::ConnectUnix(runtime_directory / "cfm-managerd.sock"),
          SD_EVENT_PRIORITY_NORMAL, [this](std::string_view payload) { Take(payload); },
          [](const std::string&) {}) {
  cfm::manager::Hello hello;
  hello.set_version(1);
  hello.set_role(cfm::manager::ROLE_OBSERVE);
  hello.set_name("cfm_bench");
  hello.set_applied_only(true);
  channel_.Send(hello);
  Await(
      loop, [this] { return count_ >= 0; }, "what the CFM manager holds");
}

void AppliedObserver::Take(std::string_view payload) {
  const Clock::time_point now = Clock::now();
  if (!welcome_) {
    cfm::manager::HelloReply reply;
    ipc::ParsePayload(payload, reply);
    if (!reply.error().empty()) {
      throw ipc::ProtocolError(reply.error());
    }
    welcome_ = true;
    return;
  }
  cfm::manager::FromManager message;
  ipc::ParsePayload(payload, message);
  if (message.has_applied()) {
    time_ = now;
    ++count_;
  }
}

}  // namespace bench
