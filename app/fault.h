// Faults: what the daemon raises through the middleware when a value or its
// own state is not what it must be.
#ifndef CFM_APP_FAULT_H
#define CFM_APP_FAULT_H

namespace cfm {

// Longest message of a fault, its NUL included; longer ones are cut.
inline constexpr int kFaultMessageSize = 300;

// Raises a fault of severity 0 and returns: the caller has a fallback.
void RaiseFault(const char* function, const char* file, int line, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

// Writes a backtrace, raises a fault of severity 1 and ends the process with
// exit status 1.
[[noreturn]] void RaiseFatalFault(const char* function, const char* file, int line,
                                  const char* format, ...) __attribute__((format(printf, 4, 5)));
// The same with an empty message.
[[noreturn]] void RaiseFatalFault(const char* function, const char* file, int line);

}  // namespace cfm

// CFM_FAULT(format, ...): a fault from here.
#define CFM_FAULT(...) ::cfm::RaiseFault(__func__, __FILE_NAME__, __LINE__, __VA_ARGS__)

// CFM_FATAL_FAULT([format, ...]): a fatal fault from here.
#define CFM_FATAL_FAULT(...) \
  ::cfm::RaiseFatalFault(__func__, __FILE_NAME__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

#endif
