// How a failure inside the library becomes the result of a C call.
#ifndef CONFD_CLIENT_ERROR_H
#define CONFD_CLIENT_ERROR_H

#include <confd_lib.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace confd {

// A call failed: what confd_errno and confd_lasterr will say, and what the
// call returns.
class ApiError : public std::runtime_error {
 public:
  ApiError(int code, const std::string& text, int result = CONFD_ERR)
      : std::runtime_error(text), code_(code), result_(result) {}

  int Code() const { return code_; }      // CONFD_ERR_*
  int Result() const { return result_; }  // CONFD_ERR or CONFD_EOF

  // The same failure, its text led by what was asked for.
  ApiError About(std::string_view subject) const {
    return ApiError(code_, std::string(subject) + ": " + what(), result_);
  }

 private:
  int code_;
  int result_;
};

void SetError(int code, std::string_view text) noexcept;

// Inside a catch block: makes the exception the last error and returns what
// the C call returns.
int RecordCurrentException() noexcept;

// Runs the body of a C call; nothing gets out.
template <typename Body>
int Guarded(Body body) noexcept {
  try {
    return body();
  } catch (...) {
    return RecordCurrentException();
  }
}

}  // namespace confd

#endif
