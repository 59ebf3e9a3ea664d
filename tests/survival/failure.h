#ifndef TESTS_SURVIVAL_FAILURE_H
#define TESTS_SURVIVAL_FAILURE_H

#include <stdexcept>

namespace survival {

// The system did what it must not do: the campaign ends.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace survival

#endif
