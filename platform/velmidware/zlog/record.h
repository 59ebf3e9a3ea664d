// One log record and the two shapes in which it leaves the process.
#ifndef ZLOG_RECORD_H
#define ZLOG_RECORD_H

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace zlog_record {

struct Record {
  std::string_view program;
  std::string_view category;
  std::string_view file;
  std::string_view function;
  long line = 0;
  int level = 0;             // of zlog.h
  std::string_view message;  // may hold any byte
};

using Time = std::chrono::system_clock::time_point;

// `2026-11-20T10:00:00.123Z cfm-app info config.cpp:57 Config: message`, with
// the levels info, warning and error; always one line.
std::string Line(const Record& record, Time time);

// Fields of a journal record, `NAME=value` each.
std::vector<std::string> JournalFields(const Record& record);

}  // namespace zlog_record

#endif
