#include "confd_client/path_message.h"

#include <utility>

#include "confd_client/wire_value.h"
#include "frame.h"

namespace confd {
namespace {

void WriteKey(const Key& key, cfm::agent::Value& message) {
  message.set_type(key.type);
  if (key.type == C_BUF) {
    message.set_text(key.text);
  } else {
    message.set_number(key.number);
  }
}

}  // namespace

cfm::agent::Path PathMessage(const Path& path) {
  cfm::agent::Path message;
  for (const Step& step : path) {
    cfm::agent::PathStep& step_message = *message.add_steps();
    step_message.set_name(step.name);
    for (const Key& key : step.keys) {
      WriteKey(key, *step_message.add_keys());
    }
    if (step.position) {
      step_message.set_position(*step.position);
    }
  }
  return message;
}

std::string IndexText(const google::protobuf::RepeatedPtrField<cfm::agent::Value>& values) {
  std::vector<Key> keys;
  keys.reserve(static_cast<std::size_t>(values.size()));
  for (const auto& value : values) {
    auto key = KeyOf(BorrowScalar(value));
    if (!key) {
      throw ipc::ProtocolError("a key of type " + std::to_string(value.type()));
    }
    keys.push_back(*std::move(key));
  }
  return IndexText(keys);
}

}  // namespace confd
