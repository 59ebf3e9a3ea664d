// Where every choice of the campaign comes from.
#ifndef TESTS_SURVIVAL_CHANCE_H
#define TESTS_SURVIVAL_CHANCE_H

#include <cstdint>
#include <iterator>
#include <random>

namespace survival {

// The same seed and step give the same choices, whatever the steps before it
// needed.
class Chance {
 public:
  Chance(std::uint32_t seed, int step) {
    std::seed_seq sequence{seed, static_cast<std::uint32_t>(step)};
    random_.seed(sequence);
  }

  std::uint32_t Number() { return static_cast<std::uint32_t>(random_()); }
  // 0 to limit - 1; std::uniform_int_distribution differs between libraries.
  int Below(int limit) { return static_cast<int>(Number() % static_cast<std::uint32_t>(limit)); }
  bool OneIn(int n) { return Below(n) == 0; }
  template <typename Container>
  auto& Pick(Container& container) {
    return *std::next(std::begin(container), Below(static_cast<int>(std::size(container))));
  }

 private:
  std::mt19937 random_;
};

}  // namespace survival

#endif
