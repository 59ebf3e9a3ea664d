// How a process of the daemon ends on purpose, as death tests see it.
#ifndef CFM_TESTS_DAEMON_DEATH_H
#define CFM_TESTS_DAEMON_DEATH_H

#include <gmock/gmock.h>

#include <string>

namespace test {

// What a fatal fault leaves on the error stream of the fake platform.
inline testing::Matcher<const std::string&> FatalFault(const std::string& function,
                                                       const std::string& message,
                                                       const std::string& file = "config.cpp") {
  return testing::AllOf(testing::HasSubstr("backtrace\nfault severity=1 function=" + function +
                                           " file=" + file + " line="),
                        testing::Not(testing::HasSubstr("line=0 ")),
                        testing::HasSubstr(" padded=1 message=[" + message + "]\n"));
}

// What glibc's assert leaves there, with the source file by its place in the
// repository.
inline testing::Matcher<const std::string&> Assertion(const std::string& expression) {
  return testing::AllOf(testing::ContainsRegex(": (config|status)/[a-z_]+\\.(cpp|h):[0-9]+: "),
                        testing::HasSubstr("Assertion `" + expression + "' failed"));
}

}  // namespace test

#endif
