// Edits on a draft of a configuration (RFC 6241, clause 7.2).
#ifndef AGENT_EDIT_H
#define AGENT_EDIT_H

#include "agent.pb.h"
#include "draft.h"

namespace agentd {

// Applies the operations one after the other. With problems the draft is worth
// nothing any more: edits are made on a copy. Constraints between nodes are
// not looked at here (validation.h).
Problems ApplyEdits(const Model& model, Draft& draft, const cfm::agent::Edit& edit);

}  // namespace agentd

#endif
