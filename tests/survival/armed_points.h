// The fail points of a build that has them (CFM_FAIL_POINTS): each is armed at
// some start of a process that has it, until it was hit once.
#ifndef TESTS_SURVIVAL_ARMED_POINTS_H
#define TESTS_SURVIVAL_ARMED_POINTS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "chance.h"
#include "node.h"

namespace survival {

#ifdef CFM_FAIL_POINTS
inline constexpr bool kHasFailPoints = true;
#else
inline constexpr bool kHasFailPoints = false;
#endif

class ArmedPoints {
 public:
  explicit ArmedPoints(std::uint32_t seed);

  // Chooses what the process that is started next begins with, and puts it
  // into the element's environment. Returns it (NAME:SKIP:ACTION); empty when
  // there is none.
  std::string Arm(Node& node, Part part);
  // Takes it out again: cfmctl passes points of the same names.
  static void Disarm(Node& node);
  // A process that had been started with `armed` has ended; `killed` by nobody
  // else. True when it had come to the point and failed there.
  bool TakeEnd(Node& node, Part part, const std::string& armed, bool killed);
  // All points with the number of their hits; empty in a build without.
  std::string Text() const;

 private:
  using Counts = std::map<std::string, int>;

  Chance chance_;
  std::map<Part, Counts> hits_;
};

}  // namespace survival

#endif
