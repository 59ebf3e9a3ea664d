// What a client sends to the CFM manager: frames, messages, the hierarchy. A
// hierarchy that was accepted survives the way back and forth.
#include <manager.pb.h>

#include "frame.h"
#include "hierarchy_codec.h"
#include "input.h"

namespace {

std::string Encoded(const cfm::Hierarchy& hierarchy) {
  cfm::manager::Configuration message;
  cfm::EncodeHierarchy(hierarchy, message);
  return message.SerializeAsString();
}

void Decode(std::string_view payload) {
  cfm::manager::FromClient message;
  ipc::ParsePayload(payload, message);
  const cfm::Hierarchy hierarchy = cfm::DecodeHierarchy(message.configuration());
  const std::string once = Encoded(hierarchy);
  cfm::manager::Configuration again;
  if (!again.ParseFromString(once) || Encoded(cfm::DecodeHierarchy(again)) != once) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  try {
    ipc::FrameDecoder decoder;
    decoder.Append(input.Rest());
    while (const auto payload = decoder.Next()) {
      Decode(*payload);
    }
  } catch (const ipc::ProtocolError&) {
  }
  return 0;
}
