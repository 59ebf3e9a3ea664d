// Texts for protobuf's string fields, which hold UTF-8 and nothing else.
#ifndef AGENT_UTF8_H
#define AGENT_UTF8_H

#include <string>
#include <string_view>

namespace agentd {

// The text with every byte that is not part of well-formed UTF-8 (RFC 3629)
// replaced by a question mark.
std::string WellFormed(std::string_view text);

}  // namespace agentd

#endif
