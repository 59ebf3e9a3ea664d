#include "calendar.h"

#include <fmt/chrono.h>

namespace cfmctl {

std::string CalendarText(std::int64_t seconds) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(static_cast<std::time_t>(seconds)));
}

}  // namespace cfmctl
