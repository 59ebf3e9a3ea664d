// What a read of operational data has to ask the providers: leaf after leaf of
// entry after entry.
#ifndef AGENT_READ_PLAN_H
#define AGENT_READ_PLAN_H

#include <map>
#include <optional>
#include <vector>

#include "operational_store.h"
#include "operational_tree.h"
#include "read_scope.h"

namespace agentd {

class ReadPlan {
 public:
  // One entry and what was computed for it so far.
  struct Target {
    EntryPtr entry;
    const std::vector<const ComputedLeaf*>* leaves = nullptr;
    ComputedValues values{};
  };
  // One leaf of one entry.
  struct Question {
    std::size_t target = 0;
    const ComputedLeaf* leaf = nullptr;
    bool operator==(const Question&) const = default;
  };

  // The entries at and below the path and of their leaves those that are at or
  // below it, as far as they are in the scope.
  ReadPlan(const OperationalNode& top, const ProviderModel& providers, const InstancePath& path,
           const ReadScope& scope);

  // The question at hand; nothing at the end.
  std::optional<Question> Front();
  void Pop() { ++leaf_; }

  Target& At(const Question& question) { return targets_[question.target]; }
  const std::vector<Target>& Targets() const { return targets_; }

 private:
  std::map<const lysc_node*, std::vector<const ComputedLeaf*>> leaves_;  // by list
  std::vector<Target> targets_;
  std::size_t target_ = 0;
  std::size_t leaf_ = 0;
};

}  // namespace agentd

#endif
