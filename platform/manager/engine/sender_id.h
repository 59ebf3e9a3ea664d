// The value of a Sender ID TLV (IEEE 802.1Q clause 21.5.3) and the text that
// stands for it.
#ifndef CFM_ENGINE_SENDER_ID_H
#define CFM_ENGINE_SENDER_ID_H

#include <string>

#include "bytes.h"

namespace cfm::engine {

// A locally assigned chassis id and no management address. `text` is neither
// empty nor longer than kLongestSenderId.
Bytes EncodeSenderId(const std::string& text);

// The chassis id as text: MAC and IP addresses in their usual form, anything
// else as printable ASCII with \xNN for the rest, so that no peer can put what
// is not text into a status record. False when the lengths do not add up.
bool DecodeSenderId(ByteView value, std::string& text);

}  // namespace cfm::engine

#endif
