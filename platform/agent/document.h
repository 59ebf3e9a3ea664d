// Configuration documents in XML and JSON.
#ifndef AGENT_DOCUMENT_H
#define AGENT_DOCUMENT_H

#include <string>

#include "agent.pb.h"
#include "model.h"

namespace agentd {

// A document whose top is the top of the model. Problems carry the line where
// libyang knows it, and all values at fault, not only the first. State data,
// unknown nodes and attributes are problems.
Result<Tree> ParseDocument(const Model& model, const std::string& text, cfm::agent::Format format);

}  // namespace agentd

#endif
