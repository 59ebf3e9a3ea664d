#include "type_rule.h"

namespace agentd {
namespace {

constexpr const char* kBaseNames[] = {"unknown",     "binary",
                                      "uint8",       "uint16",
                                      "uint32",      "uint64",
                                      "string",      "bits",
                                      "boolean",     "decimal64",
                                      "empty",       "enumeration",
                                      "identityref", "instance-identifier",
                                      "leafref",     "union",
                                      "int8",        "int16",
                                      "int32",       "int64"};
static_assert(std::size(kBaseNames) == LY_DATA_TYPE_COUNT);

std::string Bounds(const lysc_range& range, bool is_signed) {
  const auto text = [is_signed](std::int64_t number, std::uint64_t natural) {
    return is_signed ? std::to_string(number) : std::to_string(natural);
  };
  std::string all;
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(range.parts, i) {
    const auto& part = range.parts[i];
    const std::string low = text(part.min_64, part.min_u64);
    const std::string high = text(part.max_64, part.max_u64);
    all += (i > 0 ? "|" : "") + low + (low == high ? "" : ".." + high);
  }
  return all;
}

bool Says(const std::string& message, std::string_view begin, const char* own) {
  return message.starts_with(begin) || (own != nullptr && message.starts_with(own));
}

std::string RuleOfString(const lysc_type_str& type, const std::string& message) {
  if (type.length != nullptr && Says(message, "Unsatisfied length", type.length->emsg)) {
    return "length " + Bounds(*type.length, false);
  }
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(type.patterns, i) {
    if (Says(message, "Unsatisfied pattern", type.patterns[i]->emsg)) {
      return std::string("pattern ") + type.patterns[i]->expr;
    }
  }
  return "type string";
}

std::string RuleOfEnumeration(const lysc_type_enum& type) {
  std::string names;
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(type.enums, i) {
    names += (i > 0 ? "|" : "") + std::string(type.enums[i].name);
  }
  return "enumeration " + names;
}

}  // namespace

std::string RuleOfType(const lysc_type& type, const std::string& message) {
  if (type.basetype == LY_TYPE_STRING) {
    return RuleOfString(reinterpret_cast<const lysc_type_str&>(type), message);
  }
  if (type.basetype == LY_TYPE_ENUM) {
    return RuleOfEnumeration(reinterpret_cast<const lysc_type_enum&>(type));
  }
  const bool is_signed = type.basetype >= LY_TYPE_INT8;
  const bool is_unsigned = type.basetype >= LY_TYPE_UINT8 && type.basetype <= LY_TYPE_UINT64;
  if (is_signed || is_unsigned) {
    const lysc_range* range = reinterpret_cast<const lysc_type_num&>(type).range;
    if (range != nullptr && Says(message, "Unsatisfied range", range->emsg)) {
      return "range " + Bounds(*range, is_signed);
    }
  }
  return std::string("type ") + kBaseNames[type.basetype];
}

}  // namespace agentd
