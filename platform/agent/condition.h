// The `when` statements of computed leaves, worked out by hash look-ups.
//
// Understood is what names one instance of the configuration by values that
// stand next to the leaf:
//   /m:a/m:list[m:key = current()/../m:leaf]/m:leaf-list[. = current()/../m:leaf]
// Values are compared as values, never pasted into an expression, so no name
// can say more than its name.
#ifndef AGENT_CONDITION_H
#define AGENT_CONDITION_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "model.h"

namespace agentd {

class Condition {
 public:
  // Of `node`; `text` is its `when`. Throws std::runtime_error for one that is
  // not of the shape above.
  Condition(const Model& model, const lysc_node& node, std::string_view text);

  // Canonical text of a leaf next to the one that is asked about; null when
  // it has no value.
  using Neighbour = std::function<const std::string*(const lysc_node& leaf)>;
  // The instance in the configuration that begins at `top`; null: it is not
  // there, and so the condition does not hold.
  const lyd_node* Find(const Model& model, const lyd_node* top, const Neighbour& neighbour) const;

 private:
  // A step and the leaves that give its keys, in the order of the model; of a
  // leaf-list its element.
  struct Step {
    const lysc_node* schema = nullptr;
    std::vector<const lysc_node*> operands;
  };
  std::vector<Step> steps_;
};

}  // namespace agentd

#endif
