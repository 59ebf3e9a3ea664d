// The campaign: random steps against two elements, and after each a comparison
// of everything with the model.
#ifndef TESTS_SURVIVAL_CAMPAIGN_H
#define TESTS_SURVIVAL_CAMPAIGN_H

#include <cstdint>
#include <vector>

#include "armed_points.h"
#include "options.h"
#include "report.h"
#include "supervisor.h"
#include "wires.h"

namespace survival {

class Campaign {
 public:
  explicit Campaign(const Options& options);

  // Until time or steps are used up. Throws Failure.
  void Run();
  // The step that was under way.
  int CurrentStep() const { return step_; }
  // What there is to know after a failure: the ends of all logs.
  std::string Logs();
  // The fail points of the processes that run.
  std::string Armed();
  std::string Text() const { return report_.Text() + armed_points_.Text(); }

 private:
  void Step();
  void Rest();
  // Until the link is well at that end.
  void AwaitLinkAt(Node& node);
  bool GoesOn() const;

  Options options_;
  Wires wires_;
  Report report_;
  ArmedPoints armed_points_;
  Node a_;
  Node b_;
  Supervisor supervisor_;
  std::vector<ipc::UniqueFd> hanging_;
  Clock::time_point begin_;
  int step_ = 0;
};

}  // namespace survival

#endif
