// What a commit changes: found by libyang, told to three audiences.
#ifndef AGENT_DIFFERENCE_H
#define AGENT_DIFFERENCE_H

#include <optional>
#include <string>
#include <vector>

#include "agent.pb.h"
#include "model.h"

namespace agentd {

// One row of the store that goes, comes or changes.
struct RowChange {
  enum class Kind {
    kPut,          // `path` now says `value` (empty for what has none)
    kDrop,         // `path` says nothing any more
    kDropSubtree,  // nor does anything below it
  };
  Kind kind = Kind::kPut;
  std::string path;
  std::string value;
};

class Difference {
 public:
  // Both trees are validated, with their implicit nodes.
  Difference(const Model& model, const lyd_node* before, const lyd_node* after);

  bool IsEmpty() const { return diff_ == nullptr; }

  // For subscribers. Keys of entries are not reported apart from their entry,
  // nor implicit defaults of what is created, nor anything below what is
  // deleted, nor a leaf whose value stays the same.
  cfm::agent::Change Changes() const;
  // For people. Everything below what is created or deleted is told too.
  std::vector<cfm::agent::DiffLine> Lines() const;
  // For the store, which keeps what is explicit.
  std::vector<RowChange> Rows() const;

 private:
  const Model& model_;
  Tree diff_;
};

}  // namespace agentd

#endif
