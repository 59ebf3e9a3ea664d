// Paths to instances of the model, resolved against it.
//
// As text: /config/oam/cfm/md[id='east']/ma[id='blue']/vlan-list[.='5'].
// Either kind of quotes serves; a quote inside a literal of its own kind is
// doubled, so that every name can be written.
#ifndef AGENT_INSTANCE_PATH_H
#define AGENT_INSTANCE_PATH_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent.pb.h"
#include "model.h"

namespace agentd {

struct PathStep {
  const lysc_node* schema = nullptr;
  // Canonical: of a list one text per key, in the order of the model; of a
  // leaf-list the element. Empty: all instances, or `position`.
  std::vector<std::string> keys;
  std::optional<std::uint32_t> position;
  // A key that its type does not allow: no such instance can exist.
  bool impossible = false;
};

using InstancePath = std::vector<PathStep>;

// From text. Every list but the last needs its keys. Problems name the step.
Result<InstancePath> ParsePath(const Model& model, std::string_view text);

// From a program's path. Problems are CONFD_ERR_BADPATH or CONFD_ERR_BADTYPE.
Result<InstancePath> ResolvePath(const Model& model, const cfm::agent::Path& path);

std::string TextOf(const InstancePath& path);
// What a step adds to a text: "/md[id='east']".
std::string TextOf(const PathStep& step);
std::string StepText(const lyd_node& node);
std::string PathOf(const lyd_node& node);

// "/m:config/oam" as "/config/oam".
std::string WithoutModuleNames(std::string_view path);

// Key leaves of a list, in the order of the model.
std::vector<const lysc_node*> KeysOf(const lysc_node& list);

}  // namespace agentd

#endif
