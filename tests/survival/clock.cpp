// The calendar clock that jumps.

#include <fmt/format.h>

#include <array>

#include "operations.h"
#include "steps.h"

namespace survival {

Outcome SetClock(Context& context) {
  static constexpr std::array<std::int64_t, 8> kOffsets = {
      0, 1, 3600, 400LL * 86400, -1, -3600, -400LL * 86400, 20LL * 365 * 86400};
  const std::int64_t offset = context.chance.Pick(kOffsets);
  auto& clock = context.node.Disturb()->clock_offset_seconds;
  const std::int64_t before = clock.exchange(offset);
  const auto over = Clock::now();
  context.Say(fmt::format("clock from {:+} s to {:+} s", before, offset));
  // Once with what was kept from before the jump, once asked for anew.
  Perform(context, context.node, Kind::kRead);
  Perform(context, context.node, Kind::kReadCounters);
  Perform(context, context.node, Kind::kCommit);
  const char* fault = offset > before   ? "clock set forward"
                      : offset < before ? "clock set back"
                                        : "";
  return {.fault = fault, .over = over};
}

}  // namespace survival
