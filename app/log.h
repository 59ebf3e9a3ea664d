// How the daemon logs: one zlog record per call, under the file and function
// that emit it. The category is the one that every handler gets at its
// construction.
#ifndef CFM_APP_LOG_H
#define CFM_APP_LOG_H

#include <zlog.h>

namespace cfm {

enum LogLevel : int {
  kInformational = 10,
  kWarning = 11,  // a failure that is tolerated and reported
  kError = 12,    // data is lost or an operation is aborted
};

}  // namespace cfm

// A record under a line number that log tools know it by.
#define CFM_LOG_AT_LINE(line, category, level, ...)                                                \
  zlog((category), __FILE_NAME__, sizeof(__FILE_NAME__) - 1, __func__, sizeof(__func__) - 1, line, \
       (level), __VA_ARGS__)

// CFM_LOG(category, level, format, ...)
#define CFM_LOG(category, level, ...) CFM_LOG_AT_LINE(__LINE__, category, level, __VA_ARGS__)

#endif
