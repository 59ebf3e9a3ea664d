// How long the hammer test runs, and with which seed.
#ifndef TESTS_SYSTEM_HAMMER_OPTIONS_H
#define TESTS_SYSTEM_HAMMER_OPTIONS_H

#include <chrono>
#include <cstdint>
#include <optional>

namespace test {

struct HammerOptions {
  std::uint32_t seed = 1;
  // The run ends after that many operations or, where a time is given, after
  // that time.
  std::uint64_t operations = 15000;
  std::optional<std::chrono::seconds> time{};
};

// From CFM_HAMMER_SEED, CFM_HAMMER_OPERATIONS and CFM_HAMMER_SECONDS, all
// optional. Throws std::invalid_argument naming the variable.
HammerOptions HammerOptionsFromEnvironment();

}  // namespace test

#endif
