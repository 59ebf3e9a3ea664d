// The written part of the status, followed change by change.
#ifndef TOOLS_CORE_STATUS_CHANGES_H
#define TOOLS_CORE_STATUS_CHANGES_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "mep_name.h"
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

  // Of the MEPs that are selected.
  std::vector<const TreeNode*> Records(const MepSelection& selection) const;
  std::vector<std::string> Paths(const MepSelection& selection) const;

 private:
  // Record 9 before record 10.
  struct ByNumber {
    bool operator()(const std::string& left, const std::string& right) const {
      return std::tuple(left.size(), std::string_view(left)) <
             std::tuple(right.size(), std::string_view(right));
    }
  };

  std::map<std::string, TreeNode, ByNumber> records_;  // by path
};

}  // namespace cfmctl

#endif
