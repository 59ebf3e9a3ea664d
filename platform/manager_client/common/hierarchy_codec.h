// The configuration hierarchy and the protocol's Configuration message, both
// ways.
#ifndef CFM_HIERARCHY_CODEC_H
#define CFM_HIERARCHY_CODEC_H

#include <string>
#include <utility>

#include "cfm/hierarchy.h"

namespace cfm {

namespace manager {
class Configuration;
}

// Puts the MDs into `message`, whose number it leaves alone. A map's key is
// the name or the id that travels; a MEP's own mep_id is not looked at.
void EncodeHierarchy(const Hierarchy& hierarchy, manager::Configuration& message);

// Accepts the nodes in any order; those in the order that the protocol asks
// for cost linear time. Throws ipc::ProtocolError naming node, field and value
// for a number that its field cannot hold, a value that is no enumerator, and
// a name or id that occurs twice.
Hierarchy DecodeHierarchy(const manager::Configuration& message);

// One of the message's MDs and its name. Throws the same.
std::pair<std::string, hierarchy_md> DecodeMd(const std::string& bytes);

}  // namespace cfm

#endif
