#include "validators.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <optional>

#include "core/escape.h"

namespace cfmctl {
namespace {

constexpr double kDay = 86400;
constexpr int kMaxMepId = 8191;

// Nothing unless the whole text is a number.
template <typename Number>
std::optional<Number> ToNumber(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// `refusal` goes on behind the text that is refused. What is no number (NaN)
// is within no limits.
template <typename Number>
CLI::Validator Within(Number least, Number most, const std::string& refusal) {
  return {[=](std::string& text) -> std::string {
            const auto number = ToNumber<Number>(text);
            const bool is_within = number && *number >= least && *number <= most;
            return is_within ? "" : fmt::format("\"{}\" is {}", Printable(text), refusal);
          },
          ""};
}

}  // namespace

CLI::Validator SecondsFrom(double least) {
  return Within(least, kDay, fmt::format("no number of seconds from {} to {}", least, kDay));
}

CLI::Validator CountOf(const std::string& what) {
  return Within<std::size_t>(1, SIZE_MAX, fmt::format("no number of {}: at least 1", what));
}

CLI::Validator MepId() {
  return Within(1, kMaxMepId, fmt::format("no MEP id, a number from 1 to {}", kMaxMepId));
}

}  // namespace cfmctl
