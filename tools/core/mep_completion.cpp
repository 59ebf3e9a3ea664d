#include "mep_completion.h"

#include <algorithm>

namespace cfmctl {
namespace {

void AddOnce(std::vector<std::string>& names, const std::string& name) {
  if (std::ranges::find(names, name) == names.end()) {
    names.push_back(name);
  }
}

// Entries of the list whose id is the wanted one, if one is wanted.
std::vector<const TreeNode*> EntriesOf(const TreeNode& parent, std::string_view list,
                                       const std::optional<std::string>& id) {
  std::vector<const TreeNode*> entries;
  for (const TreeNode& child : parent.children) {
    if (child.name == list && (!id || ChildValue(child, "id") == id)) {
      entries.push_back(&child);
    }
  }
  return entries;
}

}  // namespace

std::vector<std::string> MdNames(const TreeNode& cfm) {
  std::vector<std::string> names;
  for (const TreeNode* md : EntriesOf(cfm, "md", {})) {
    AddOnce(names, ChildValue(*md, "id").value_or(""));
  }
  return names;
}

std::vector<std::string> MaNames(const TreeNode& cfm, const MepSelection& selection) {
  std::vector<std::string> names;
  for (const TreeNode* md : EntriesOf(cfm, "md", selection.md)) {
    for (const TreeNode* ma : EntriesOf(*md, "ma", {})) {
      AddOnce(names, ChildValue(*ma, "id").value_or(""));
    }
  }
  return names;
}

std::vector<std::string> MepIds(const TreeNode& cfm, const MepSelection& selection) {
  std::vector<std::string> ids;
  for (const TreeNode* md : EntriesOf(cfm, "md", selection.md)) {
    for (const TreeNode* ma : EntriesOf(*md, "ma", selection.ma)) {
      for (const TreeNode* mep : EntriesOf(*ma, "mep", {})) {
        AddOnce(ids, ChildValue(*mep, "id").value_or(""));
      }
      std::ranges::for_each(ChildValues(*ma, "remote-meps"),
                            [&](const std::string& id) { AddOnce(ids, id); });
    }
  }
  return ids;
}

}  // namespace cfmctl
