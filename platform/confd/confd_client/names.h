// Names of the tags of the agent's models. Every connection brings them, and
// the process keeps them.
#ifndef CONFD_CLIENT_NAMES_H
#define CONFD_CLIENT_NAMES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace confd {

class Names {
 public:
  // The first name of a tag stays: a program may hold a pointer to it. Several
  // tags may share a name: a node called `md` in the configuration and one in
  // the status are two nodes.
  void Learn(std::uint32_t tag, const std::string& name);

  // Null for an unknown tag. Valid for the life of the object.
  const std::string* NameOf(std::uint32_t tag) const;
  // 0 for an unknown name; of several tags the first that was learnt.
  std::uint32_t TagOf(std::string_view name) const;
  bool Empty() const { return names_.empty(); }

 private:
  std::unordered_map<std::uint32_t, std::string> names_;
  std::unordered_map<std::string_view, std::uint32_t> tags_;  // views into names_
};

// Those of the process.
Names& SchemaNames();

}  // namespace confd

#endif
