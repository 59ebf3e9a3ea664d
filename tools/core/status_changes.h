// The written part of the status, followed change by change.
#ifndef TOOLS_CORE_STATUS_CHANGES_H
#define TOOLS_CORE_STATUS_CHANGES_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "mep_name.h"
#include "record_order.h"
#include "status_records.h"

namespace cfmctl {

struct StatusChange {
  enum class Kind { kAppeared, kChanged, kWentAway };

  Kind kind = Kind::kChanged;
  MepName name;
  // kChanged: what changed. kAppeared: the leaf that tells most.
  std::string leaf;
  std::optional<std::string> before;
  std::optional<std::string> after;
};

// "remote MEP 7 of md{east}/ma{blue}/mep{5}: state rmep-ok -> rmep-failed"
std::string ToText(const StatusChange& change);

// The records as they are now. Each is known by its path, and to people once
// its identity and the leaf that tells most are written: a record comes into
// being leaf by leaf, and what is first written is no change.
class StatusBoard {
 public:
  // `entry` is the whole record now; nothing: it went away. Returns what that
  // changed for people, in the order of the model.
  std::vector<StatusChange> Apply(const std::string& path, std::optional<TreeNode> entry);

  using Records = std::map<std::string, TreeNode, ByRecordNumber>;  // by path
  const Records& All() const { return records_; }
  // Null when there is none at the path.
  const TreeNode* Find(const std::string& path) const;
  // How many are of MEPs that are selected.
  std::size_t Count(const MepSelection& selection) const;

 private:
  Records records_;
};

}  // namespace cfmctl

#endif
