#ifndef TESTS_SURVIVAL_OPTIONS_H
#define TESTS_SURVIVAL_OPTIONS_H

#include <chrono>
#include <cstdint>

namespace survival {

struct Options {
  std::uint32_t seed = 1;
  double minutes = 3;
  int steps = 0;  // more than 0: so many, however long they take

  std::chrono::duration<double> Duration() const {
    return std::chrono::duration<double>(minutes * 60);
  }
};

}  // namespace survival

#endif
