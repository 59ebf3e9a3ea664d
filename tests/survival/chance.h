// Where every choice of the campaign comes from.
#ifndef TESTS_SURVIVAL_CHANCE_H
#define TESTS_SURVIVAL_CHANCE_H

#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <random>

namespace survival {

// The same numbers, such as seed and step, give the same choices, whatever else
// was chosen before.
class Chance {
 public:
  explicit Chance(std::initializer_list<std::uint32_t> numbers) {
    std::seed_seq sequence(numbers);
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
