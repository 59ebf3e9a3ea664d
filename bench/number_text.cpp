#include "number_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace bench {

std::string NumberText(double number) {
  if (number == 0) {
    return "0";
  }
  const int magnitude = static_cast<int>(std::floor(std::log10(std::abs(number))));
  return fmt::format("{:.{}f}", number, std::clamp(3 - magnitude, 0, 6));
}

}  // namespace bench
