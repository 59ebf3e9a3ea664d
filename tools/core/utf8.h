// The encoding of all texts that go to the agent.
#ifndef TOOLS_CORE_UTF8_H
#define TOOLS_CORE_UTF8_H

#include <string_view>

namespace cfmctl {

// Whether the text is well-formed UTF-8 (RFC 3629).
bool IsUtf8(std::string_view text);

}  // namespace cfmctl

#endif
