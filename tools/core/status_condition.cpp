#include "status_condition.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <set>

#include "defects.h"
#include "status_model.h"

namespace cfmctl {
namespace {

constexpr std::string_view kDefect = "defect";    // one letter of
constexpr std::string_view kDefects = "defects";  // the leaf

std::string_view LeafOf(const StatusCondition& condition) {
  return condition.leaf == kDefect ? kDefects : std::string_view(condition.leaf);
}

const StatusLeaf* FindWritten(std::string_view list, std::string_view leaf) {
  const StatusLeaf* const found = FindStatusLeaf(list, leaf);
  return found != nullptr && found->origin == LeafOrigin::kWritten ? found : nullptr;
}

std::vector<std::string_view> WaitableLeaves() {
  std::vector<std::string_view> names{kDefect};
  for (const StatusList& list : StatusModel()) {
    for (const StatusLeaf& leaf : list.leaves) {
      const bool is_new = std::ranges::find(names, leaf.name) == names.end();
      if (leaf.origin == LeafOrigin::kWritten && is_new) {
        names.push_back(leaf.name);
      }
    }
  }
  return names;
}

// What the leaf can be; nothing when that is not limited.
std::vector<std::string_view> ValuesOf(std::string_view name) {
  std::vector<std::string_view> values;
  if (name == kDefect) {
    std::ranges::transform(Defects(), std::back_inserter(values), &Defect::letter);
    return values;
  }
  for (const StatusList& list : StatusModel()) {
    if (const StatusLeaf* const leaf = FindWritten(list.name, name)) {
      values.assign(leaf->values.begin(), leaf->values.end());
    }
  }
  return values;
}

bool Concerns(const StatusCondition& condition, std::string_view list) {
  return FindWritten(list, LeafOf(condition)) != nullptr;
}

bool HasValue(const StatusCondition& condition, const std::string& value) {
  return condition.leaf == kDefect ? value.find(condition.value) != std::string::npos
                                   : value == condition.value;
}

// Empty when the condition holds for the record.
std::string Obstacle(const StatusCondition& condition, const TreeNode& record) {
  const auto value = ChildValue(record, LeafOf(condition));
  if (!value) {
    return fmt::format("{} is not known yet", LeafOf(condition));
  }
  const bool holds = HasValue(condition, *value) == condition.equal;
  return holds ? "" : fmt::format("{} is {}", LeafOf(condition), *value);
}

}  // namespace

StatusCondition ParseCondition(std::string_view text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string_view::npos) {
    throw ConditionError(
        fmt::format("\"{}\" is no condition: LEAF=VALUE or LEAF!=VALUE is one", text));
  }
  const bool equal = sign == 0 || text[sign - 1] != '!';
  const StatusCondition condition{std::string(text.substr(0, equal ? sign : sign - 1)), equal,
                                  std::string(text.substr(sign + 1))};
  const auto leaves = WaitableLeaves();
  if (std::ranges::find(leaves, condition.leaf) == leaves.end()) {
    throw ConditionError(fmt::format("condition \"{}\": there is no leaf \"{}\" (there is {})",
                                     text, condition.leaf, fmt::join(leaves, ", ")));
  }
  const auto values = ValuesOf(condition.leaf);
  if (!values.empty() && std::ranges::find(values, condition.value) == values.end()) {
    throw ConditionError(fmt::format("condition \"{}\": {} is one of {}", text, condition.leaf,
                                     fmt::join(values, ", ")));
  }
  return condition;
}

std::vector<std::string> CompleteCondition(std::string_view partial) {
  std::vector<std::string> conditions;
  for (const std::string_view leaf : WaitableLeaves()) {
    for (const std::string_view sign : {"=", "!="}) {
      for (const std::string_view value : ValuesOf(leaf)) {
        const std::string condition = fmt::format("{}{}{}", leaf, sign, value);
        if (condition.starts_with(partial)) {
          conditions.push_back(condition);
        }
      }
    }
  }
  return conditions;
}

std::vector<std::string> Unmet(const StatusCondition& condition,
                               const std::vector<const TreeNode*>& records,
                               const std::vector<MepName>& expected) {
  std::vector<std::string> lines;
  std::set<MepName> seen;
  for (const TreeNode* record : records) {
    const auto name = NameOfRecord(*record);
    if (!name || !Concerns(condition, record->name)) {
      continue;
    }
    seen.insert(WithoutObserver(*name));
    const std::string obstacle = Obstacle(condition, *record);
    if (!obstacle.empty()) {
      lines.push_back(fmt::format("{}: {}", ToText(*name), obstacle));
    }
  }
  for (const MepName& name : expected) {
    const bool is_concerned = Concerns(condition, name.is_remote ? "remote" : "local");
    if (is_concerned && !seen.contains(WithoutObserver(name))) {
      lines.push_back(fmt::format("{}: has no status yet", ToText(name)));
    }
  }
  if (lines.empty() && seen.empty()) {
    lines.push_back(fmt::format("no MEP has a status with {}", LeafOf(condition)));
  }
  return lines;
}

}  // namespace cfmctl
