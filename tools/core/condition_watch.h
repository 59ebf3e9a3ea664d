// Whether conditions hold, followed record by record, so that a change costs
// the same however many MEPs there are.
#ifndef TOOLS_CORE_CONDITION_WATCH_H
#define TOOLS_CORE_CONDITION_WATCH_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "mep_name.h"
#include "record_order.h"
#include "status_condition.h"

namespace cfmctl {

// One condition. With = every MEP has the value, with != none; a MEP has to
// have the leaf in either case. The MEPs are those of the records that were
// told, at least one, and those that are expected, whoever reports them.
class ConditionWatch {
 public:
  ConditionWatch(StatusCondition condition, MepSelection selection,
                 const std::vector<MepName>& expected);

  // The record at the path as it is now; null: it went away.
  void Update(const std::string& path, const TreeNode* record);

  bool Holds() const { return obstacles_.empty() && missing_ == 0 && !records_.empty(); }
  // Lines that say where it does not hold; none when it holds.
  std::vector<std::string> Unmet() const;

 private:
  struct Mep {
    MepName name;  // for people
    bool is_expected = false;
    std::size_t records = 0;
  };

  bool IsMeant(const MepName& name) const;
  void Forget(const std::string& path);

  StatusCondition condition_;
  MepSelection selection_;
  std::map<MepName, Mep> meps_;  // without observer
  std::map<std::string, MepName, ByRecordNumber> records_;
  std::map<std::string, std::string, ByRecordNumber> obstacles_;
  std::size_t missing_ = 0;  // expected MEPs without a record
};

}  // namespace cfmctl

#endif
