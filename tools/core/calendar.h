// Points of calendar time.
#ifndef TOOLS_CORE_CALENDAR_H
#define TOOLS_CORE_CALENDAR_H

#include <cstdint>
#include <string>

namespace cfmctl {

// Seconds since 1970, in UTC: 2026-11-20T23:05:00Z
std::string CalendarText(std::int64_t seconds);

}  // namespace cfmctl

#endif
