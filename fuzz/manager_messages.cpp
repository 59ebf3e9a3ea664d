// What the CFM manager sends to its client: frames, messages, records.
#include <manager.pb.h>

#include "frame.h"
#include "input.h"
#include "status_codec.h"

namespace {

void Decode(std::string_view payload) {
  cfm::manager::FromManager message;
  ipc::ParsePayload(payload, message);
  switch (message.message_case()) {
    case cfm::manager::FromManager::kLocalStatus:
      cfm::Decode(message.local_status());
      break;
    case cfm::manager::FromManager::kRemoteStatus:
      cfm::Decode(message.remote_status());
      break;
    case cfm::manager::FromManager::kRemoved:
      cfm::DecodeName(message.removed());
      break;
    case cfm::manager::FromManager::kLocalStatistics:
      cfm::Decode(message.local_statistics());
      break;
    case cfm::manager::FromManager::kRemoteStatistics:
      cfm::Decode(message.remote_statistics());
      break;
    default:
      break;
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
