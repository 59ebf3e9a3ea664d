// Why a request is refused, as a value: refusals are everyday results here.
#ifndef AGENT_PROBLEM_H
#define AGENT_PROBLEM_H

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace agentd {

struct Problem {
  std::string message{};  // for people: operation, object, cause
  std::string path{};     // instance path at fault, where there is one
  std::string rule{};     // constraint of the model that is broken, where there is one
  int code = 0;           // CONFD_ERR_*, for programs on the ConfD API
};

// None: all is well.
using Problems = std::vector<Problem>;

// A value, or why there is none.
template <typename T>
class Result {
 public:
  Result(T value) : content_(std::move(value)) {}                      // NOLINT: meant to convert
  Result(Problem problem) : content_(Problems{std::move(problem)}) {}  // NOLINT
  Result(Problems problems) : content_(std::move(problems)) {}         // NOLINT

  explicit operator bool() const { return std::holds_alternative<T>(content_); }
  T& operator*() { return std::get<T>(content_); }
  const T& operator*() const { return std::get<T>(content_); }
  T* operator->() { return &std::get<T>(content_); }
  const T* operator->() const { return &std::get<T>(content_); }
  const Problems& Why() const { return std::get<Problems>(content_); }

 private:
  std::variant<T, Problems> content_;
};

}  // namespace agentd

#endif
