// Messages that a fuzzer's bytes hold.
#ifndef FUZZ_MESSAGE_H
#define FUZZ_MESSAGE_H

#include <string_view>

#include "frame.h"

namespace fuzz {

template <typename Message>
bool Parses(std::string_view bytes, Message& message) {
  try {
    ipc::ParsePayload(bytes, message);
    return true;
  } catch (const ipc::ProtocolError&) {
    return false;
  }
}

}  // namespace fuzz

#endif
