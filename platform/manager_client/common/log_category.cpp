#include "log_category.h"

#include <zlog.h>

#include <cstring>

#include "file_name.h"

namespace cfm {
namespace {

constexpr int kInformational = 10;
constexpr int kTolerated = 11;
constexpr int kError = 12;

}  // namespace

LogCategory::LogCategory(const char* category) : category_(zlog_get_category(category)) {}

void LogCategory::Info(const std::string& text, const SourcePlace& where) const {
  Write(kInformational, text, where);
}

void LogCategory::Warning(const std::string& text, const SourcePlace& where) const {
  Write(kTolerated, text, where);
}

void LogCategory::Error(const std::string& text, const SourcePlace& where) const {
  Write(kError, text, where);
}

void LogCategory::Write(int level, const std::string& text, const SourcePlace& where) const {
  if (category_ == nullptr) {
    return;
  }
  const char* file = ipc::FileName(where.file);
  zlog(category_, file, std::strlen(file), where.function, std::strlen(where.function), where.line,
       level, "%s", text.c_str());
}

}  // namespace cfm
