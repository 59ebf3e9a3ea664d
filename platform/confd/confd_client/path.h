// A path as a program asked for it.
#ifndef CONFD_CLIENT_PATH_H
#define CONFD_CLIENT_PATH_H

#include <confd_lib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace confd {

// One key. `text` is its canonical text whatever the type, and two keys with
// the same text name the same entry. `number` is set for types that are
// numbers.
struct Key {
  confd_vtype type = C_BUF;
  std::int64_t number = 0;
  std::string text;

  bool operator==(const Key&) const = default;
};

// A node, then the keys or the position that pick an entry of it, or neither.
struct Step {
  std::string name;
  std::vector<Key> keys;
  std::optional<std::uint32_t> position;

  bool PicksEntry() const { return !keys.empty() || position.has_value(); }
  bool operator==(const Step&) const = default;
};

using Path = std::vector<Step>;

// The key that a value is; nothing for a value that cannot be a key.
std::optional<Key> KeyOf(const confd_value_t& value);

// The text under which an entry with these keys is found: the same only for
// the same keys.
std::string IndexText(const std::vector<Key>& keys);

// /config/oam/cfm/md{east}/ma[0]
std::string PathText(const Path& path);

}  // namespace confd

#endif
