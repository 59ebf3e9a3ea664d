#include "values.h"

#include <confd_lib.h>

#include <cstring>

#include "type_rule.h"

namespace agentd {
namespace {

const lysc_type& TypeOf(const lysc_node& schema) {
  return schema.nodetype == LYS_LEAFLIST ? *reinterpret_cast<const lysc_node_leaflist&>(schema).type
                                         : *reinterpret_cast<const lysc_node_leaf&>(schema).type;
}

pb::Value Number(confd_vtype type, std::int64_t number) {
  pb::Value value;
  value.set_type(type);
  value.set_number(number);
  return value;
}

pb::Value Text(const char* text) {
  pb::Value value;
  value.set_type(C_BUF);
  value.set_text(text);
  return value;
}

pb::Value Tag(const Model& model, const lysc_node& schema) {
  pb::Value value;
  value.set_type(C_XMLTAG);
  value.set_tag(model.TagOf(schema));
  value.set_ns(model.NamespaceOf(schema));
  return value;
}

std::string EnumerationName(const lysc_type& type, std::int64_t number) {
  if (type.basetype == LY_TYPE_ENUM) {
    const lysc_type_bitenum_item* items = reinterpret_cast<const lysc_type_enum&>(type).enums;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(items, i) {
      if (items[i].value == number) {
        return items[i].name;
      }
    }
  }
  return std::to_string(number);  // no such name: refused by the type
}

template <typename T>
int Compare(T left, T right) {
  return left < right ? -1 : static_cast<int>(right < left);
}

int CompareTerms(const lyd_node& left, const lyd_node& right) {
  const lyd_value& a = reinterpret_cast<const lyd_node_term&>(left).value;
  const lyd_value& b = reinterpret_cast<const lyd_node_term&>(right).value;
  switch (a.realtype->basetype) {
    case LY_TYPE_INT8:
      return Compare(a.int8, b.int8);
    case LY_TYPE_INT16:
      return Compare(a.int16, b.int16);
    case LY_TYPE_INT32:
      return Compare(a.int32, b.int32);
    case LY_TYPE_INT64:
      return Compare(a.int64, b.int64);
    case LY_TYPE_UINT8:
      return Compare(a.uint8, b.uint8);
    case LY_TYPE_UINT16:
      return Compare(a.uint16, b.uint16);
    case LY_TYPE_UINT32:
      return Compare(a.uint32, b.uint32);
    case LY_TYPE_UINT64:
      return Compare(a.uint64, b.uint64);
    default:
      return std::strcmp(lyd_get_value(&left), lyd_get_value(&right));
  }
}

}  // namespace

pb::Value ValueOf(const Model& model, const lyd_node& term) {
  const lyd_value& value = reinterpret_cast<const lyd_node_term&>(term).value;
  switch (value.realtype->basetype) {
    case LY_TYPE_INT8:
      return Number(C_INT8, value.int8);
    case LY_TYPE_INT16:
      return Number(C_INT16, value.int16);
    case LY_TYPE_INT32:
      return Number(C_INT32, value.int32);
    case LY_TYPE_INT64:
      return Number(C_INT64, value.int64);
    case LY_TYPE_UINT8:
      return Number(C_UINT8, value.uint8);
    case LY_TYPE_UINT16:
      return Number(C_UINT16, value.uint16);
    case LY_TYPE_UINT32:
      return Number(C_UINT32, value.uint32);
    case LY_TYPE_UINT64:
      return Number(C_UINT64, static_cast<std::int64_t>(value.uint64));
    case LY_TYPE_BOOL:
      return Number(C_BOOL, value.boolean);
    case LY_TYPE_ENUM:
      return Number(C_ENUM_VALUE, value.enum_item->value);
    case LY_TYPE_EMPTY:
      return Tag(model, *term.schema);
    default:
      return Text(lyd_get_value(&term));
  }
}

pb::Value ValueOfText(const Model& model, const lyd_node& like, const char* text) {
  lyd_node* copy = nullptr;
  CheckYang(lyd_dup_single(&like, nullptr, LYD_DUP_NO_META, &copy), model.Context(), "copy a leaf");
  const Tree owner(copy);
  lyd_change_term(copy, text);
  return ValueOf(model, *copy);
}

Result<std::string> TextOf(const lysc_node& schema, const pb::Value& value) {
  switch (value.type()) {
    case C_STR:
    case C_BUF:
      return value.text();
    case C_INT8:
    case C_INT16:
    case C_INT32:
    case C_INT64:
    case C_UINT8:
    case C_UINT16:
    case C_UINT32:
      return std::to_string(value.number());
    case C_UINT64:
      return std::to_string(static_cast<std::uint64_t>(value.number()));
    case C_BOOL:
      return std::string(value.number() != 0 ? "true" : "false");
    case C_ENUM_VALUE:
      return EnumerationName(TypeOf(schema), value.number());
    default:
      return Problem{.message = "a value of type " + std::to_string(value.type()) +
                                " cannot be a key of '" + schema.name + "'",
                     .code = CONFD_ERR_BADTYPE};
  }
}

Result<std::string> Canonical(const Model& model, const lysc_node& schema, std::string_view text,
                              const std::string& path) {
  if (text.find('\0') != text.npos) {
    return Problem{.message = "a value cannot hold a NUL byte", .path = path, .rule = "type"};
  }
  ly_err_clean(model.Context(), nullptr);
  const char* canonical = nullptr;
  const LY_ERR result = lyd_value_validate(model.Context(), &schema, text.data(), text.size(),
                                           nullptr, nullptr, &canonical);
  if (result == LY_SUCCESS) {
    std::string found = canonical;
    lydict_remove(model.Context(), canonical);
    return found;
  }
  Problem problem = TakeErrors(model.Context(), "the type refuses the value").front();
  problem.path = path;
  problem.rule = RuleOfType(TypeOf(schema), problem.message);
  return problem;
}

int CompareInstances(const lyd_node& left, const lyd_node& right) {
  if (left.schema->nodetype != LYS_LIST) {
    return CompareTerms(left, right);
  }
  const lyd_node* a = lyd_child(&left);
  const lyd_node* b = lyd_child(&right);
  for (; a != nullptr && b != nullptr && lysc_is_key(a->schema); a = a->next, b = b->next) {
    if (const int order = CompareTerms(*a, *b); order != 0) {
      return order;
    }
  }
  return 0;
}

}  // namespace agentd
