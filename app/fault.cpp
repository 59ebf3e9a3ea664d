#include "app/fault.h"

#include <velmidware.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace cfm {
namespace {

// Values of the middleware's severity argument.
enum Severity { kNonFatal = 0, kFatal = 1 };

[[noreturn]] void EndWithFault(const char* function, const char* file, int line,
                               const char* message) {
  velmw_gen_fault(kFatal, function, file, line, message);
  std::exit(EXIT_FAILURE);
}

}  // namespace

void RaiseFault(const char* function, const char* file, int line, const char* format, ...) {
  char message[kFaultMessageSize] = {};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof(message), format, arguments);
  va_end(arguments);
  velmw_gen_fault(kNonFatal, function, file, line, message);
}

// The backtrace comes first: whatever formatting does, the stack is known.
void RaiseFatalFault(const char* function, const char* file, int line, const char* format, ...) {
  velmw_print_backtrace();
  char message[kFaultMessageSize] = {};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof(message), format, arguments);
  va_end(arguments);
  EndWithFault(function, file, line, message);
}

void RaiseFatalFault(const char* function, const char* file, int line) {
  velmw_print_backtrace();
  const char message[kFaultMessageSize] = {};
  EndWithFault(function, file, line, message);
}

}  // namespace cfm
