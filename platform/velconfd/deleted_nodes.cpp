#include "deleted_nodes.h"

#include <utility>

namespace velconfd {
namespace {

constexpr int kNumberLength = 32;  // a number, a truth value or a tag as text

std::string TextOf(const confd_value_t& value) {
  if (value.type == C_BUF) {
    return {CONFD_GET_CBUFPTR(&value), CONFD_GET_BUFSIZE(&value)};
  }
  if (value.type == C_XMLTAG) {
    return std::to_string(CONFD_GET_XMLTAG(&value));
  }
  char text[kNumberLength] = {};
  confd_pp_value(text, kNumberLength, &value);
  return text;
}

// The lengths in front keep "a" + "bc" apart from "ab" + "c", whatever the
// keys hold.
void Append(std::string& path, const confd_value_t* values) {
  for (int i = 0; i < MAXKEYLEN && values[i].type != C_NOEXISTS; ++i) {
    const std::string text = TextOf(values[i]);
    path += std::to_string(static_cast<int>(values[i].type)) + ':' + std::to_string(text.size()) +
            ':' + text;
  }
  path += '/';
}

}  // namespace

void DeletedNodes::Add(const confd_hkeypath_t& node) {
  std::string path;
  for (int level = node.len - 1; level >= 0; --level) {
    Append(path, node.v[level]);
  }
  paths_.insert(std::move(path));
}

bool DeletedNodes::Above(const confd_hkeypath_t& node) const {
  if (paths_.empty()) {
    return false;
  }
  std::string path;
  for (int level = node.len - 1; level > 0; --level) {
    Append(path, node.v[level]);
    if (paths_.count(path) != 0) {
      return true;
    }
  }
  return false;
}

}  // namespace velconfd
