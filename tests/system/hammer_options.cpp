#include "hammer_options.h"

#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

namespace test {
namespace {

template <typename Number>
std::optional<Number> FromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) {
    return std::nullopt;
  }
  const std::string_view text = value;
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) {
    throw std::invalid_argument(std::string(name) + "='" + value + "': give a positive number");
  }
  return number;
}

}  // namespace

HammerOptions HammerOptionsFromEnvironment() {
  HammerOptions options;
  options.seed = FromEnvironment<std::uint32_t>("CFM_HAMMER_SEED").value_or(options.seed);
  options.operations =
      FromEnvironment<std::uint64_t>("CFM_HAMMER_OPERATIONS").value_or(options.operations);
  if (const auto seconds = FromEnvironment<unsigned>("CFM_HAMMER_SECONDS")) {
    options.time = std::chrono::seconds(*seconds);
  }
  return options;
}

}  // namespace test
