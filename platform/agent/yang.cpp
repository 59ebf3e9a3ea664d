#include "yang.h"

#include <cstring>
#include <stdexcept>
#include <string_view>

#include "instance_path.h"

namespace agentd {
namespace {

// libyang 2 writes where an error is as
//   Schema location "/m:a/b", data location "/m:a/b[id='x']", line number 3.
// with each part only when it knows it.
std::string QuotedAfter(std::string_view text, std::string_view label) {
  const std::size_t at = text.find(label);
  if (at == std::string_view::npos) {
    return {};
  }
  const std::size_t begin = at + label.size();
  const std::size_t end = text.find("\", line number", begin);
  const std::size_t stop = end == std::string_view::npos ? text.rfind('"') : end;
  return std::string(text.substr(begin, stop > begin ? stop - begin : 0));
}

std::string LineIn(std::string_view text) {
  for (const std::string_view label : {"line number ", "Line number "}) {
    const std::size_t at = text.find(label);
    if (at != std::string_view::npos) {
      const std::size_t begin = at + label.size();
      return std::string(text.substr(begin, text.find('.', begin) - begin));
    }
  }
  return {};
}

Problem FromItem(const ly_err_item& item) {
  Problem problem;
  problem.message = item.msg != nullptr ? item.msg : "";
  const std::string_view where = item.path != nullptr ? item.path : "";
  std::string path = QuotedAfter(where, "ata location \"");
  if (path.empty() && !where.empty() && where.front() == '/') {
    path = where;
  }
  problem.path = WithoutModuleNames(path);
  if (const std::string line = LineIn(where); !line.empty()) {
    problem.message += " (line " + line + ")";
  }
  return problem;
}

}  // namespace

Tree CopyTree(const lyd_node* tree) {
  lyd_node* copy = nullptr;
  if (tree != nullptr) {
    CheckYang(lyd_dup_siblings(tree, nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &copy),
              LYD_CTX(tree), "copy a data tree");
  }
  return Tree(copy);
}

Problems TakeErrors(ly_ctx* context, const std::string& otherwise) {
  Problems problems;
  for (const ly_err_item* item = ly_err_first(context); item != nullptr; item = item->next) {
    if (item->level == LY_LLERR) {
      problems.push_back(FromItem(*item));
    }
  }
  ly_err_clean(context, nullptr);
  if (problems.empty()) {
    problems.push_back({.message = otherwise});
  }
  return problems;
}

void CheckYang(LY_ERR result, const ly_ctx* context, const char* operation) {
  if (result != LY_SUCCESS) {
    const ly_err_item* item = context != nullptr ? ly_err_last(context) : nullptr;
    throw std::runtime_error(std::string(operation) + ": " +
                             (item != nullptr && item->msg != nullptr ? item->msg : "libyang"));
  }
}

}  // namespace agentd
