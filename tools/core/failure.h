// Why a command did not do what it was asked for, and how cfmctl ends then.
#ifndef TOOLS_CORE_FAILURE_H
#define TOOLS_CORE_FAILURE_H

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace cfmctl {

enum class ExitStatus {
  kOk = 0,
  kRefused = 1,      // by the agent; or a comparison found a difference
  kUsage = 2,        // command line or input file
  kUnreachable = 3,  // agent or manager
  kTimedOut = 4,
  kIncomplete = 5,  // shown, but something is missing
};

class Failure : public std::runtime_error {
 public:
  // `message` is one line; each of `details` becomes an indented line below.
  Failure(ExitStatus status, const std::string& message, std::vector<std::string> details = {})
      : std::runtime_error(message), status_(status), details_(std::move(details)) {}

  ExitStatus Status() const { return status_; }
  const std::vector<std::string>& Details() const { return details_; }

 private:
  ExitStatus status_;
  std::vector<std::string> details_;
};

}  // namespace cfmctl

#endif
