// The YANG modules and what their extension statements say: hashes by which
// programs recognise nodes, and capacities.
#ifndef AGENT_MODEL_H
#define AGENT_MODEL_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "yang.h"

namespace agentd {

// Argument of our extension statement of that name among `statements`; null
// when there is none.
const char* Annotation(const lysc_ext_instance* statements, std::string_view name);

// FNV-1a, 32 bits: the hash of a node that the model gives none.
std::uint32_t HashOfName(std::string_view name);

// No more than `limit` instances of `counted` together below `node`.
struct Capacity {
  const lysc_node* node = nullptr;
  std::uint64_t limit = 0;
  std::unordered_set<const lysc_node*> counted;
};

class Model {
 public:
  // Reads every module of the directory. Throws std::runtime_error.
  explicit Model(const std::filesystem::path& directory);

  ly_ctx* Context() const { return context_.get(); }

  std::uint32_t TagOf(const lysc_node& node) const { return tags_.at(&node); }
  // Hash of the namespace that the node belongs to.
  std::uint32_t NamespaceOf(const lysc_node& node) const { return namespaces_.at(node.module); }
  // Every tag with its name.
  const std::map<std::uint32_t, std::string>& Names() const { return names_; }

  // Child of `parent`, or top-level node when that is null; `name` may carry
  // a module name and a colon. Null when there is none.
  const lysc_node* Child(const lysc_node* parent, std::string_view name) const;

  // The modules whose nodes there are.
  std::vector<const lysc_module*> Modules() const;

  const std::vector<Capacity>& Capacities() const { return capacities_; }

  // From the top to the list whose entries can be validated one by one
  // (confinement.h). Empty: only the whole configuration can be.
  const std::vector<const lysc_node*>& WayToParts() const { return way_to_parts_; }

 private:
  void Load(const std::filesystem::path& directory);
  void Learn(const lys_module& module);
  void Learn(const lysc_node& node);
  void LearnCapacity(const lysc_node& node);
  void Name(std::uint32_t tag, const std::string& name);

  ContextPtr context_;
  std::unordered_map<const lysc_node*, std::uint32_t> tags_;
  std::unordered_map<const lys_module*, std::uint32_t> namespaces_;
  std::map<std::uint32_t, std::string> names_;
  std::vector<Capacity> capacities_;
  std::vector<const lysc_node*> way_to_parts_;
};

}  // namespace agentd

#endif
