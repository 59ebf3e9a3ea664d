#include "condition_watch.h"

#include <fmt/format.h>

namespace cfmctl {

ConditionWatch::ConditionWatch(StatusCondition condition, MepSelection selection,
                               const std::vector<MepName>& expected)
    : condition_(std::move(condition)), selection_(std::move(selection)) {
  for (const MepName& name : expected) {
    if (Concerns(condition_, name.is_remote ? "remote" : "local")) {
      meps_[WithoutObserver(name)] = {name, true, 0};
    }
  }
  missing_ = meps_.size();
}

void ConditionWatch::Update(const std::string& path, const TreeNode* record) {
  Forget(path);
  const auto name = record == nullptr ? std::nullopt : NameOfRecord(*record);
  if (!name || !Concerns(condition_, record->name) || !IsMeant(*name)) {
    return;
  }
  const MepName key = WithoutObserver(*name);
  records_.emplace(path, key);
  Mep& mep = meps_[key];
  if (mep.is_expected && mep.records == 0) {
    --missing_;
  }
  ++mep.records;
  const std::string obstacle = Obstacle(condition_, *record);
  if (!obstacle.empty()) {
    obstacles_.emplace(path, fmt::format("{}: {}", ToText(*name), obstacle));
  }
}

// A remote MEP has one record, which is that of the local MEP that reported
// last; so one that is expected is meant, whichever that was.
bool ConditionWatch::IsMeant(const MepName& name) const {
  const auto known = meps_.find(WithoutObserver(name));
  return selection_.Selects(name) || (known != meps_.end() && known->second.is_expected);
}

void ConditionWatch::Forget(const std::string& path) {
  const auto record = records_.find(path);
  if (record == records_.end()) {
    return;
  }
  const auto mep = meps_.find(record->second);
  --mep->second.records;
  if (mep->second.records == 0 && mep->second.is_expected) {
    ++missing_;
  } else if (mep->second.records == 0) {
    meps_.erase(mep);
  }
  records_.erase(record);
  obstacles_.erase(path);
}

std::vector<std::string> ConditionWatch::Unmet() const {
  std::vector<std::string> lines;
  for (const auto& [path, obstacle] : obstacles_) {
    lines.push_back(obstacle);
  }
  for (const auto& [key, mep] : meps_) {
    if (mep.records == 0) {
      lines.push_back(fmt::format("{}: has no status yet", ToText(mep.name)));
    }
  }
  if (lines.empty() && records_.empty()) {
    lines.push_back(fmt::format("no MEP has a status with {}", LeafOf(condition_)));
  }
  return lines;
}

}  // namespace cfmctl
