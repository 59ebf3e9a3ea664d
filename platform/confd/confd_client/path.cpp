#include "confd_client/path.h"

#include "confd_client/names.h"
#include "confd_client/value.h"
#include "confd_client/value_text.h"

namespace confd {

std::optional<Key> KeyOf(const confd_value_t& value) {
  if (const auto bytes = BytesOf(value)) {
    return Key{C_BUF, 0, std::string(*bytes)};
  }
  if (const auto number = NumberOf(value)) {
    return Key{value.type, *number, ValueText(value, Names())};
  }
  return std::nullopt;
}

std::string IndexText(const std::vector<Key>& keys) {
  if (keys.size() == 1) {
    return keys.front().text;
  }
  std::string text;
  for (const Key& key : keys) {
    text += std::to_string(key.text.size()) + ":" + key.text;
  }
  return text;
}

std::string PathText(const Path& path) {
  std::string text;
  for (const Step& step : path) {
    text += "/" + step.name;
    if (step.position) {
      text += "[" + std::to_string(*step.position) + "]";
    }
    const char* separator = "{";
    for (const Key& key : step.keys) {
      text += separator + QuotedKey(key.text);
      separator = " ";
    }
    text += step.keys.empty() ? "" : "}";
  }
  return text;
}

}  // namespace confd
