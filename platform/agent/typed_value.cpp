#include "typed_value.h"

#include <algorithm>
#include <charconv>

#include "utf8.h"
#include "values.h"

namespace agentd {
namespace {

const lysc_type& TypeOf(const lysc_node& schema) {
  return schema.nodetype == LYS_LEAFLIST ? *reinterpret_cast<const lysc_node_leaflist&>(schema).type
                                         : *reinterpret_cast<const lysc_node_leaf&>(schema).type;
}

// What a YANG string may hold (RFC 7950, clause 9.4), and so what an XML
// document can show.
bool IsText(const std::string& text) {
  const auto is_forbidden = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < ' ' && c != '\t' && c != '\n' && c != '\r';
  };
  return WellFormed(text) == text && std::none_of(text.begin(), text.end(), is_forbidden);
}

Problem Refused(const lysc_node& schema, const std::string& cause) {
  return {.message = "'" + NameOf(schema) + "' cannot have the value: " + cause,
          .code = CONFD_ERR_BADTYPE};
}

std::int64_t Number(const std::string& text) {
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::int64_t UnsignedNumber(const std::string& text) {
  std::uint64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return static_cast<std::int64_t>(number);
}

std::int64_t EnumerationValue(const lysc_type& type, const std::string& name) {
  const lysc_type_bitenum_item* items = reinterpret_cast<const lysc_type_enum&>(type).enums;
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(items, i) {
    if (name == items[i].name) {
      return items[i].value;
    }
  }
  return 0;  // a canonical text is one of the names
}

}  // namespace

// Types without a ConfD type of their own travel as text.
confd_vtype KindOf(const lysc_type& type) {
  switch (type.basetype) {
    case LY_TYPE_INT8:
      return C_INT8;
    case LY_TYPE_INT16:
      return C_INT16;
    case LY_TYPE_INT32:
      return C_INT32;
    case LY_TYPE_INT64:
      return C_INT64;
    case LY_TYPE_UINT8:
      return C_UINT8;
    case LY_TYPE_UINT16:
      return C_UINT16;
    case LY_TYPE_UINT32:
      return C_UINT32;
    case LY_TYPE_UINT64:
      return C_UINT64;
    case LY_TYPE_BOOL:
      return C_BOOL;
    case LY_TYPE_ENUM:
      return C_ENUM_VALUE;
    case LY_TYPE_EMPTY:
      return C_XMLTAG;
    default:
      return C_BUF;
  }
}

Result<std::string> CheckedText(const Model& model, const lysc_node& schema,
                                const pb::Value& value) {
  const confd_vtype wanted = KindOf(TypeOf(schema));
  const std::uint32_t given = value.type();  // any number
  if (given != wanted && !(wanted == C_BUF && given == C_STR)) {
    return Refused(schema,
                   "its type is " + std::to_string(wanted) + " and not " + std::to_string(given));
  }
  if (wanted == C_XMLTAG) {
    return std::string();
  }
  if (wanted == C_BUF && !IsText(value.text())) {
    return Refused(schema, "it is no text in UTF-8");
  }
  const auto text = TextOf(schema, value);
  if (!text) {
    return text.Why();
  }
  const auto canonical = Canonical(model, schema, *text, {});
  if (!canonical) {
    return Refused(schema, canonical.Why().front().message);
  }
  return *canonical;
}

pb::Value ValueOfCanonical(const Model& model, const lysc_node& schema, const std::string& text) {
  const lysc_type& type = TypeOf(schema);
  const confd_vtype kind = KindOf(type);
  pb::Value value;
  value.set_type(kind);
  switch (kind) {
    case C_BUF:
      value.set_text(text);
      break;
    case C_XMLTAG:
      value.set_tag(model.TagOf(schema));
      value.set_ns(model.NamespaceOf(schema));
      break;
    case C_BOOL:
      value.set_number(text == "true" ? 1 : 0);
      break;
    case C_ENUM_VALUE:
      value.set_number(EnumerationValue(type, text));
      break;
    case C_UINT64:
      value.set_number(UnsignedNumber(text));
      break;
    default:
      value.set_number(Number(text));
  }
  return value;
}

}  // namespace agentd
