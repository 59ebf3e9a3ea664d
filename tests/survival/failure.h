#ifndef TESTS_SURVIVAL_FAILURE_H
#define TESTS_SURVIVAL_FAILURE_H

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

namespace survival {

// The system did what it must not do: the campaign ends.
class Failure : public std::runtime_error {
 public:
  // `log` is that of the process that did it, where it is one.
  explicit Failure(const std::string& what, std::filesystem::path log = {})
      : std::runtime_error(what), log_(std::move(log)) {}

  const std::filesystem::path& Log() const { return log_; }

 private:
  std::filesystem::path log_;
};

}  // namespace survival

#endif
