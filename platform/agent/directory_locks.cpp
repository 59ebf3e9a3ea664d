#include "directory_locks.h"

namespace agentd {
namespace {

constexpr const char* kName = "agentd";

}  // namespace

// A directory that is missing has no other agent in it, so it comes last.
DirectoryLocks::DirectoryLocks(const std::filesystem::path& runtime,
                               const std::filesystem::path& state) {
  if (std::filesystem::exists(runtime)) {
    runtime_.emplace(runtime, kName);
  }
  state_.emplace(state, kName);
  if (!runtime_) {
    runtime_.emplace(runtime, kName);
  }
}

}  // namespace agentd
