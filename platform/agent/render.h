// Configuration for people: XML, JSON, and trees of texts.
#ifndef AGENT_RENDER_H
#define AGENT_RENDER_H

#include "agent.pb.h"
#include "model.h"

namespace agentd {

// Fills `document` or `node` of the reply with what stands at `path` in the
// tree. A document has the top of the model as its top, so that it can be
// handed back in an edit. A tree begins with the node at the path; without a
// path, or when the path names a whole list or leaf-list, with a container
// that holds what there is.
Problems Render(const Model& model, const lyd_node* top, const cfm::agent::Get& request,
                cfm::agent::Reply& reply);

}  // namespace agentd

#endif
