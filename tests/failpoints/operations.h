// What drives an element through all of its protocols' steps.
#ifndef TESTS_FAILPOINTS_OPERATIONS_H
#define TESTS_FAILPOINTS_OPERATIONS_H

#include <span>

#include "survivors.h"

namespace test {

// Any process may end, or stand still for a while, in an operation.
struct Operation {
  const char* name;
  void (*run)(Survivors& survivors);
  bool is_long = false;  // takes some seconds, by what processes wait for
};

// Together they pass all points of the process, the start of which comes before
// them.
std::span<const Operation> OperationsFor(Survivors::Target target);

}  // namespace test

#endif
