// Names of MDs and MAs, and ids of MEPs, that are configured.
#ifndef TOOLS_CORE_MEP_COMPLETION_H
#define TOOLS_CORE_MEP_COMPLETION_H

#include <string>
#include <vector>

#include "mep_name.h"

namespace cfmctl {

// `cfm` is the container /config/oam/cfm. Each name once, in the order of the
// configuration; below those MDs and MAs that are selected.
std::vector<std::string> MdNames(const TreeNode& cfm);
std::vector<std::string> MaNames(const TreeNode& cfm, const MepSelection& selection);
// Local and remote ones.
std::vector<std::string> MepIds(const TreeNode& cfm, const MepSelection& selection);

}  // namespace cfmctl

#endif
