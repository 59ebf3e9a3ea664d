// Every way in which a process can fail at a point, as parameters of tests.
#ifndef TESTS_FAILPOINTS_CASES_H
#define TESTS_FAILPOINTS_CASES_H

#include <string>
#include <vector>

#include "survivors.h"

namespace test {

struct Case {
  Survivors::Target target;
  std::string point;
  std::string action;
  int skip = 0;  // passes before

  // What the process is told to fail at, and how that reads once it has.
  std::string Target() const { return point + ":" + std::to_string(skip) + ":" + action; }
  // The same with what has to fail before, so that the process comes there.
  std::string FailPoint() const;
};

// How tests are named, and how failures name their parameter.
void PrintTo(const Case& one, std::ostream* out);
std::string NameOf(const Case& one);

// The action at each point that the program has and that can take it.
std::vector<Case> CasesOf(Survivors::Target target, const std::string& action);
// The same at later passes.
std::vector<Case> LaterCasesOf(Survivors::Target target, const std::string& action);
// The process stands still while a peer waits for it.
std::vector<Case> CasesOfImpatience();

}  // namespace test

#endif
