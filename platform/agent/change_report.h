// A difference as subscribers to the configuration hear of it.
#ifndef AGENT_CHANGE_REPORT_H
#define AGENT_CHANGE_REPORT_H

#include "agent.pb.h"
#include "instance_path.h"
#include "model.h"

namespace agentd {

// `diff` is a tree of lyd_diff_siblings, or null. The root of the report has
// no tag.
cfm::agent::Change ReportChanges(const Model& model, const lyd_node* diff);

// Whether a report says anything about the nodes at `point` or below: then
// the subscriber of that point is to hear of it. What stands below a deleted
// node is not touched any more.
bool Touches(const Model& model, const cfm::agent::Change& report, const InstancePath& point);

}  // namespace agentd

#endif
