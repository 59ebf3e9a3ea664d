#include "diff_tree.h"

#include <string_view>

namespace agentd {
namespace {

// Annotation of libyang's own module "yang"; empty when there is none.
const char* Annotation(const lyd_node& node, const char* name) {
  for (const lyd_meta* meta = node.meta; meta != nullptr; meta = meta->next) {
    if (std::string_view(meta->name) == name &&
        std::string_view(meta->annotation->module->name) == "yang") {
      return lyd_get_meta_value(meta);
    }
  }
  return "";
}

}  // namespace

DiffOp OperationOf(const lyd_node& node, DiffOp inherited) {
  struct Entry {
    std::string_view name;
    DiffOp op;
  };
  static constexpr Entry kOperations[] = {{"none", DiffOp::kNone},
                                          {"create", DiffOp::kCreate},
                                          {"delete", DiffOp::kDelete},
                                          {"replace", DiffOp::kReplace}};
  const std::string_view own = Annotation(node, "operation");
  for (const Entry& entry : kOperations) {
    if (entry.name == own) {
      return entry.op;
    }
  }
  return inherited;
}

const char* OriginalValue(const lyd_node& node) {
  return Annotation(node, "orig-value");
}

}  // namespace agentd
