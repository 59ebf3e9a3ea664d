// One category of the element's log, for C++.
#ifndef CFM_LOG_CATEGORY_H
#define CFM_LOG_CATEGORY_H

#include <string>

typedef struct zlog_category_s zlog_category_t;

namespace cfm {

// Where a record is written; std::source_location, which not every compiler
// that we build with has.
struct SourcePlace {
  const char* file;
  const char* function;
  int line;

  explicit SourcePlace(const char* the_file = __builtin_FILE(),
                       const char* the_function = __builtin_FUNCTION(),
                       int the_line = __builtin_LINE())
      : file(the_file), function(the_function), line(the_line) {}
};

// Cheap to copy; lives no longer than the category, which is the process's.
class LogCategory {
 public:
  // Without a category (memory is short) nothing is logged.
  explicit LogCategory(const char* category);

  // One record each: what happened, what was tolerated, what failed.
  void Info(const std::string& text, const SourcePlace& where = SourcePlace()) const;
  void Warning(const std::string& text, const SourcePlace& where = SourcePlace()) const;
  void Error(const std::string& text, const SourcePlace& where = SourcePlace()) const;

 private:
  void Write(int level, const std::string& text, const SourcePlace& where) const;

  zlog_category_t* category_;
};

}  // namespace cfm

#endif
