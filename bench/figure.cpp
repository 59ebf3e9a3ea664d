#include "figure.h"

namespace bench {
namespace {

struct UnitRow {
  const char* text;
  double seconds;
};

// In the order of the enumeration.
constexpr UnitRow kUnits[] = {
    {"ms", 1e-3}, {"us", 1e-6}, {"1/s", 0}, {"ms/s", 0}, {"MiB", 0}, {"", 0},
};

}  // namespace

const char* TextOf(Unit unit) {
  return kUnits[static_cast<int>(unit)].text;
}

double SecondsIn(Unit unit) {
  return kUnits[static_cast<int>(unit)].seconds;
}

}  // namespace bench
