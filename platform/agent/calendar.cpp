#include "calendar.h"

#include <array>
#include <ctime>

namespace agentd {

std::int64_t CalendarNow() {
  return std::time(nullptr);
}

std::string CalendarText(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm parts{};
  gmtime_r(&time, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

}  // namespace agentd
