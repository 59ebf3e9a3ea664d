// Leaf values between libyang and the ConfD value types.
#ifndef AGENT_VALUES_H
#define AGENT_VALUES_H

#include <string>
#include <string_view>

#include "agent.pb.h"
#include "model.h"

namespace agentd {

namespace pb = cfm::agent;

// Value of a leaf or leaf-list element: string C_BUF, integers by width,
// boolean, enumeration by its value, empty C_XMLTAG; any other type is its
// canonical text in a C_BUF.
pb::Value ValueOf(const Model& model, const lyd_node& term);

// Value that the leaf `like` would have with this canonical text.
pb::Value ValueOfText(const Model& model, const lyd_node& like, const char* text);

// Text by which libyang knows what a program gave as a value of `schema`, a
// leaf or leaf-list; a C_BUF is taken as it is. A type that no key can have
// is a problem.
Result<std::string> TextOf(const lysc_node& schema, const pb::Value& value);

// Canonical form of a text, or which constraint of the type it breaks. `path`
// is what the problem names.
Result<std::string> Canonical(const Model& model, const lysc_node& schema, std::string_view text,
                              const std::string& path);

// Order of two instances of one list or leaf-list: numbers as numbers, texts
// bytewise, key after key. Negative, zero or positive.
int CompareInstances(const lyd_node& left, const lyd_node& right);

}  // namespace agentd

#endif
