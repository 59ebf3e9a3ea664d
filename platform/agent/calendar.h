// Points of calendar time, for people.
#ifndef AGENT_CALENDAR_H
#define AGENT_CALENDAR_H

#include <cstdint>
#include <string>

namespace agentd {

// Seconds since 1970.
std::int64_t CalendarNow();
// In UTC: 2026-11-20T23:05:00Z
std::string CalendarText(std::int64_t seconds);

}  // namespace agentd

#endif
