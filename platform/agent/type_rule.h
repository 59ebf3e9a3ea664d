// Which constraint of a type a value broke, in the model's words.
#ifndef AGENT_TYPE_RULE_H
#define AGENT_TYPE_RULE_H

#include <libyang/libyang.h>

#include <string>
#include <string_view>

namespace agentd {

// "range 0..7", "length 1..43", "pattern [!-~]*", "enumeration up|down", or
// "type int32" when the text is none at all. `message` is what libyang said.
std::string RuleOfType(const lysc_type& type, const std::string& message);

}  // namespace agentd

#endif
