#include "confd_client/value_text.h"

#include "confd_client/names.h"
#include "confd_client/value.h"

namespace confd {
namespace {

std::string ListText(const confd_list& list, const Names& names) {
  std::string text = "{";
  for (unsigned int i = 0; i < list.size; ++i) {
    text += (i == 0 ? "" : " ") + QuotedKey(ValueText(list.ptr[i], names));
  }
  return text + "}";
}

}  // namespace

std::string ValueText(const confd_value_t& value, const Names& names) {
  if (const auto bytes = BytesOf(value)) {
    return std::string(*bytes);
  }
  switch (value.type) {
    case C_NOEXISTS:
      return "<noexists>";
    case C_XMLTAG:
      return TagText(value.val.xmltag.tag, names);
    case C_LIST:
      return ListText(value.val.list, names);
    case C_BOOL:
      return value.val.boolean != 0 ? "true" : "false";
    case C_UINT64:
      return std::to_string(value.val.u64);
    default:
      break;
  }
  const auto number = NumberOf(value);
  return number ? std::to_string(*number) : "<type " + std::to_string(value.type) + ">";
}

std::string TagText(std::uint32_t tag, const Names& names) {
  const std::string* name = names.NameOf(tag);
  return name != nullptr ? *name : "[" + std::to_string(tag) + "]";
}

std::string QuotedKey(std::string_view key) {
  if (!key.empty() && key.find_first_of(" \t\r\n{}\"\\") == std::string_view::npos) {
    return std::string(key);
  }
  std::string text = "\"";
  for (const char c : key) {
    if (c == '"' || c == '\\') {
      text += '\\';
    }
    text += c;
  }
  return text + "\"";
}

}  // namespace confd
