// Which MEP a status record or a part of the configuration is about, and which
// of them an operator asks for.
#ifndef TOOLS_CORE_MEP_NAME_H
#define TOOLS_CORE_MEP_NAME_H

#include <compare>
#include <optional>
#include <string>
#include <vector>

#include "tree.h"

namespace cfmctl {

// In the order in which people look for them.
struct MepName {
  std::string md;
  std::string ma;
  bool is_remote = false;
  std::optional<int> seen_by;  // of a remote MEP: the local MEP, where known
  int id = 0;

  auto operator<=>(const MepName&) const = default;
};

// The MEP, whoever sees it.
MepName WithoutObserver(MepName name);

// "local MEP md{east}/ma{blue}/mep{5}",
// "remote MEP 7 of md{east}/ma{blue}/mep{5}".
std::string ToText(const MepName& name);

// Of a status record: nothing while its identity is not all written.
std::optional<MepName> NameOfRecord(const TreeNode& record);

// What is not given stands for all.
struct MepSelection {
  std::optional<std::string> md;
  std::optional<std::string> ma;
  // A local MEP and what it sees, or a remote MEP: ids are unique in an MA.
  std::optional<int> mep;

  bool IsEverything() const { return !md && !ma && !mep; }
  bool Selects(const MepName& name) const;
};

// The selected MEPs of the container /config/oam/cfm, local and remote ones. A
// local MEP comes with the remote MEPs of its MA. Who sees a remote MEP is
// known where its MA has one local MEP; an MA without any sees nothing.
std::vector<MepName> ConfiguredMeps(const TreeNode& cfm, const MepSelection& selection);

// Whether the container /config/oam/cfm has an MD, MA or MEP, local or remote,
// that is named so.
bool IsConfigured(const TreeNode& cfm, const MepSelection& selection);

// "MD east, MA blue, MEP 5", or "every MEP".
std::string ToText(const MepSelection& selection);

}  // namespace cfmctl

#endif
