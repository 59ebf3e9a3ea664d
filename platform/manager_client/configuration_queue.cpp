#include "configuration_queue.h"

#include <fmt/format.h>

#include <utility>

#include "fail_point.h"
#include "frame.h"
#include "hierarchy_codec.h"

namespace cfm {

ConfigurationQueue::ConfigurationQueue(Send send) : send_(std::move(send)) {}

void ConfigurationQueue::Put(const Hierarchy& hierarchy) {
  CFM_FAIL_POINT(client_configuration_put);
  manager::FromClient message;
  manager::Configuration& configuration = *message.mutable_configuration();
  EncodeHierarchy(hierarchy, configuration);
  configuration.set_number(newest_number_ + 1);
  if (message.ByteSizeLong() > ipc::kMaxFrameBytes) {
    throw ipc::ProtocolError(fmt::format("a configuration of {} bytes is too long: at most {}",
                                         message.ByteSizeLong(), ipc::kMaxFrameBytes));
  }
  newest_ = std::move(message);
  ++newest_number_;
  SendWhenDue();
}

void ConfigurationQueue::Connected() {
  connected_ = true;
  under_way_ = false;
  sent_number_ = 0;
  SendWhenDue();
}

void ConfigurationQueue::Disconnected() {
  connected_ = false;
}

void ConfigurationQueue::Applied(std::uint64_t number) {
  if (!under_way_ || number != sent_number_) {
    throw ipc::ProtocolError(
        fmt::format("the answer is to configuration {}, which is not under way", number));
  }
  CFM_FAIL_POINT(client_configuration_applied);
  under_way_ = false;
  SendWhenDue();
}

void ConfigurationQueue::SendWhenDue() {
  if (!connected_ || under_way_ || sent_number_ == newest_number_) {
    return;
  }
  CFM_FAIL_POINT(client_configuration_sending);
  send_(newest_);
  CFM_FAIL_POINT(client_configuration_sent);
  under_way_ = true;
  sent_number_ = newest_number_;
}

}  // namespace cfm
