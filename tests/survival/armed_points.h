// The fail points of a build that has them (CFM_FAIL_POINTS).
#ifndef TESTS_SURVIVAL_ARMED_POINTS_H
#define TESTS_SURVIVAL_ARMED_POINTS_H

#include <map>
#include <string>

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
  ArmedPoints();

  // What a process may begin with (NAME:SKIP:ACTION), by chance alone; empty
  // when there is none.
  std::string Choose(Chance chance, Part part) const;
  // A process came to what it had begun with, and failed there.
  void Hit(Part part, const std::string& armed);
  // All points with the number of their hits; empty in a build without.
  std::string Text() const;

 private:
  using Counts = std::map<std::string, int>;  // by NAME:ACTION

  std::map<Part, Counts> hits_;
};

}  // namespace survival

#endif
