// The framework's records on its program's log category.
#ifndef VELCONFD_LOG_H
#define VELCONFD_LOG_H

#include <string>

struct zlog_category_s;

namespace velconfd {

enum LogLevel { kInfo = 10, kTolerated = 11, kError = 12 };

// Says nothing on a null category.
void Log(zlog_category_s* category, LogLevel level, const std::string& text,
         const char* file = __builtin_FILE(), const char* function = __builtin_FUNCTION(),
         int line = __builtin_LINE());

}  // namespace velconfd

#endif
