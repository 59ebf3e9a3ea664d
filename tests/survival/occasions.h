// The moments at which a fault strikes.
#ifndef TESTS_SURVIVAL_OCCASIONS_H
#define TESTS_SURVIVAL_OCCASIONS_H

#include <memory>
#include <optional>
#include <string>

#include "operations.h"

namespace survival {

// An operation, or a restart, that has come as far as the occasion says.
class Underway {
 public:
  // Chooses an occasion, begins what belongs to it, and waits for the moment.
  explicit Underway(Context& context);
  // Waits for what was begun to end, as it may after a fault. Tells the
  // outcome as InFlight::Finish; empty when there is none.
  std::string Finish();
  // A commit of the node was begun, and its outcome is not known.
  bool IsCommit() const { return operation_ && operation_->IsCommit(); }

 private:
  Context& context_;
  std::optional<InFlight> operation_;
};

}  // namespace survival

#endif
