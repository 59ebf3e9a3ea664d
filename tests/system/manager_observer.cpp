#include "manager_observer.h"

#include <gtest/gtest.h>
#include <manager.pb.h>

#include "connect.h"
#include "frame.h"
#include "hierarchy_codec.h"

namespace test {

ManagerObserver::ManagerObserver(sd_event* loop, const std::filesystem::path& runtime_directory)
    : channel_(std::make_unique<ipc::Channel>(
          loop, ipc::ConnectUnix(runtime_directory / "cfm-managerd.sock"), 0,
          [this](std::string_view payload) { Take(payload); },
          [](const std::string& reason) { ADD_FAILURE() << "manager: " << reason; })) {
  cfm::manager::Hello hello;
  hello.set_version(1);
  hello.set_role(cfm::manager::ROLE_OBSERVE);
  hello.set_name("test");
  channel_->Send(hello);
}

void ManagerObserver::Take(std::string_view payload) {
  if (!welcomed_) {
    cfm::manager::HelloReply reply;
    ipc::ParsePayload(payload, reply);
    EXPECT_EQ(reply.error(), "");
    welcomed_ = true;
    return;
  }
  cfm::manager::FromManager message;
  ipc::ParsePayload(payload, message);
  if (message.has_configuration()) {
    latest_ = cfm::DecodeHierarchy(message.configuration());
    ++count_;
  }
}

}  // namespace test
