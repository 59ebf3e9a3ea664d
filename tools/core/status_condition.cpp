#include "status_condition.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <span>

#include "defects.h"
#include "escape.h"
#include "status_model.h"

namespace cfmctl {
namespace {

constexpr std::string_view kDefect = "defect";    // one letter of
constexpr std::string_view kDefects = "defects";  // the leaf

// Leaves that the model calls text and whose values are known all the same.
struct KnownTexts {
  std::string_view leaf;
  std::span<const std::string_view> values;
};
constexpr std::string_view kBlockStates[] = {"N/A", "Forwarding", "Blocked"};
constexpr KnownTexts kKnownTexts[] = {{"block-state", kBlockStates}};
constexpr std::string_view kMacAddress = "mac-address";

// As records have it: 02:00:00:00:00:05.
bool IsMacAddress(std::string_view text) {
  constexpr std::size_t kLength = 17;
  bool is_one = text.size() == kLength;
  for (std::size_t i = 0; is_one && i < kLength; ++i) {
    const bool is_digit =
        std::string_view("0123456789abcdef").find(text[i]) != std::string_view::npos;
    is_one = i % 3 == 2 ? text[i] == ':' : is_digit;
  }
  return is_one;
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
  for (const KnownTexts& known : kKnownTexts) {
    if (known.leaf == name) {
      return {known.values.begin(), known.values.end()};
    }
  }
  for (const StatusList& list : StatusModel()) {
    if (const StatusLeaf* const leaf = FindWritten(list.name, name)) {
      values.assign(leaf->values.begin(), leaf->values.end());
    }
  }
  return values;
}

bool HasValue(const StatusCondition& condition, const std::string& value) {
  return condition.leaf == kDefect ? value.find(condition.value) != std::string::npos
                                   : value == condition.value;
}

}  // namespace

std::string_view LeafOf(const StatusCondition& condition) {
  return condition.leaf == kDefect ? kDefects : std::string_view(condition.leaf);
}

bool Concerns(const StatusCondition& condition, std::string_view list) {
  return FindWritten(list, LeafOf(condition)) != nullptr;
}

std::string Obstacle(const StatusCondition& condition, const TreeNode& record) {
  const auto value = ChildValue(record, LeafOf(condition));
  if (!value) {
    return fmt::format("{} is not known yet", LeafOf(condition));
  }
  const bool holds = HasValue(condition, *value) == condition.equal;
  return holds ? "" : fmt::format("{} is {}", LeafOf(condition), Visible(*value));
}

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
  if (condition.leaf == kMacAddress && !IsMacAddress(condition.value)) {
    throw ConditionError(
        fmt::format("condition \"{}\": a {} is written like 02:00:00:00:00:0a", text, kMacAddress));
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

}  // namespace cfmctl
