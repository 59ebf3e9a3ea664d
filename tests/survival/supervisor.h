// Keeps the processes running as a service manager would, while the campaign
// waits for something else; and disturbs them.
#ifndef TESTS_SURVIVAL_SUPERVISOR_H
#define TESTS_SURVIVAL_SUPERVISOR_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "armed_points.h"
#include "log_watch.h"
#include "node.h"
#include "report.h"

namespace survival {

class Supervisor {
 public:
  Supervisor(std::uint32_t seed, Report& report, ArmedPoints& armed_points)
      : seed_(seed), report_(report), armed_points_(armed_points) {}

  // Starts everything, ready.
  void Add(Node& node);
  // Asks everything to end, and expects that it does so cleanly.
  void StopAll();

  // Waits until `done`; asks again whenever one of the descriptors is readable
  // or a process became ready or ended. What ended is started anew. False
  // after the deadline. Throws Failure when a process ended that must not.
  bool Await(const std::vector<int>& descriptors, const std::function<bool()>& done,
             Clock::time_point deadline);
  // Until it is readable or its other side is closed. Throws Failure when that
  // takes too long; `what` says what it would have been.
  void AwaitReadable(int descriptor, const std::string& what);
  // Something happens to the node that has to do with that process.
  static void Disturb(Node& node, Part part);
  // Whether anything has happened to the node since it was at rest that may make
  // an operation fail.
  bool Excuses(Node& node);
  // Whether anything happens to it, or has since there were `so_many`
  // disturbances: the connections of a process end before it does.
  bool SeesDisturbance(Node& node, int so_many);
  // Until all processes of the node that are to run are ready. Throws Failure.
  void AwaitReady(Node& node);
  void AwaitReady(Node& node, Part part);

  // Ends it and starts it anew, or with `stay_down` leaves that to Release.
  void End(Node& node, Part part, int signal, bool stay_down);
  void Release(Node& node, Part part);
  void Freeze(Node& node, Part part);
  void Thaw(Node& node, Part part);

  // From now on looks out for the text. How long it took then, once.
  void LookOut(const std::filesystem::path& log, const std::string& text);
  std::optional<Clock::duration> TakeDetection();

  // A new step: processes may be started anew so many times again. Fail points
  // are armed from the first on; which, follows from the seed, the step, the
  // process, and how often it was started in the step.
  void BeginStep(int step);
  // What was armed in this step, and what was hit.
  const std::string& Points() const { return points_; }

 private:
  void Start(Node& node, Part part);
  void Arm(Node& node, Part part);
  void LookForHit(Node& node, Part part);
  void Tend();
  void TakeEnd(Node& node, Part part, int status);
  void JudgeEnd(Node& node, Part part, int status);
  void Wait(const std::vector<int>& descriptors, Clock::time_point deadline);

  std::uint32_t seed_;
  Report& report_;
  ArmedPoints& armed_points_;
  std::vector<Node*> nodes_;
  std::optional<LogWatch> look_out_;
  Clock::time_point looks_out_since_;
  int starts_ = 0;
  int step_ = 0;
  std::string points_;
};

}  // namespace survival

#endif
