#include "environment.h"

#include "paths.h"

namespace cfmctl {
namespace {

constexpr double kDefaultTimeoutSeconds = 60;
constexpr double kDefaultLookSeconds = 2;

}  // namespace

std::chrono::milliseconds ToMilliseconds(double seconds) {
  return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

std::chrono::milliseconds Environment::Timeout() const {
  return ToMilliseconds(timeout_seconds.value_or(kDefaultTimeoutSeconds));
}

std::chrono::milliseconds Environment::LookTimeout() const {
  return ToMilliseconds(timeout_seconds.value_or(kDefaultLookSeconds));
}

std::filesystem::path Environment::AgentSocket() const {
  return std::filesystem::path(runtime_dir) / ipc::AgentSocket().filename();
}

std::filesystem::path Environment::ManagerSocket() const {
  return std::filesystem::path(runtime_dir) / ipc::ManagerSocket().filename();
}

}  // namespace cfmctl
