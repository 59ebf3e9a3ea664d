// Values as programs write and compute them, checked against the model.
#ifndef AGENT_TYPED_VALUE_H
#define AGENT_TYPED_VALUE_H

#include <confd_lib.h>

#include <string>

#include "agent.pb.h"
#include "model.h"

namespace agentd {

namespace pb = cfm::agent;

// The type of the ConfD API that values of a YANG type have.
confd_vtype KindOf(const lysc_type& type);

// Canonical text of a value of `schema`, a leaf or leaf-list. The value has to
// be of the leaf's own type: integers of its width, enumerations by value,
// texts as C_STR or C_BUF, a C_XMLTAG for an empty leaf. Anything else, and
// what the type's constraints forbid, is CONFD_ERR_BADTYPE.
Result<std::string> CheckedText(const Model& model, const lysc_node& schema,
                                const pb::Value& value);

// The value that `schema` has with a canonical text, strings as C_BUF.
pb::Value ValueOfCanonical(const Model& model, const lysc_node& schema, const std::string& text);

}  // namespace agentd

#endif
