#include "record.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "log_output.h"

namespace zlog_record {
namespace {

struct Level {
  const char* name;
  int priority;  // of syslog(3)
};

constexpr int kFirstLevel = 10;
constexpr std::array<Level, 3> kLevels{{
    {"info", LOG_INFO},
    {"warning", LOG_WARNING},
    {"error", LOG_ERR},
}};

// A level that no program here uses counts as its nearest neighbour.
const Level& LevelOf(int level) {
  const int last = static_cast<int>(kLevels.size()) - 1;
  return kLevels[static_cast<std::size_t>(std::clamp(level - kFirstLevel, 0, last))];
}

std::string Timestamp(Time time) {
  using std::chrono::milliseconds;
  const auto since_epoch = std::chrono::floor<milliseconds>(time.time_since_epoch());
  const auto whole = std::chrono::floor<std::chrono::seconds>(since_epoch);
  const std::time_t seconds = static_cast<std::time_t>(whole.count());
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  std::array<char, 40> text{};
  const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text.data() + size, text.size() - size, ".%03dZ",
                static_cast<int>((since_epoch - whole).count()));
  return text.data();
}

}  // namespace

std::string Line(const Record& record, Time time) {
  std::string line = Timestamp(time);
  line.append(" ").append(record.category);
  line.append(" ").append(LevelOf(record.level).name);
  line.append(" ").append(record.file).append(":").append(std::to_string(record.line));
  line.append(" ").append(record.function).append(": ").append(record.message);
  return ipc::OneLine(line);
}

std::vector<std::string> JournalFields(const Record& record) {
  return {
      "MESSAGE=" + ipc::OneLine(record.message),
      "PRIORITY=" + std::to_string(LevelOf(record.level).priority),
      "CODE_FILE=" + std::string(record.file),
      "CODE_LINE=" + std::to_string(record.line),
      "CODE_FUNC=" + std::string(record.function),
      "SYSLOG_IDENTIFIER=" + std::string(record.program),
      "ZLOG_CATEGORY=" + std::string(record.category),
  };
}

}  // namespace zlog_record
