#include "log.h"

#include <file_name.h>
#include <zlog.h>

#include <cstring>

namespace velconfd {

void Log(zlog_category_s* category, LogLevel level, const std::string& text, const char* file,
         const char* function, int line) {
  if (category != nullptr) {
    const char* name = ipc::FileName(file);
    zlog(category, name, std::strlen(name), function, std::strlen(function), line, level, "%s",
         text.c_str());
  }
}

}  // namespace velconfd
