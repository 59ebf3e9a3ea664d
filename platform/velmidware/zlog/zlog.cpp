#include "zlog.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <string>

#include "log_output.h"
#include "record.h"

struct zlog_category_s {
  std::string name;
};

namespace {

struct State {
  bool to_journal = ipc::LogsToJournal();
  std::map<std::string, std::unique_ptr<zlog_category_t>> categories;
};

// Never destroyed: whatever runs at the end of the process may still log.
State& TheState() {
  static State& state = *new State;
  return state;
}

struct Free {
  void operator()(char* text) const { std::free(text); }
};
using Text = std::unique_ptr<char, Free>;

void Emit(const zlog_record::Record& record) {
  if (TheState().to_journal) {
    ipc::SendToJournal(zlog_record::JournalFields(record));
  } else {
    ipc::WriteLine(zlog_record::Line(record, std::chrono::system_clock::now()));
  }
}

// The program goes on without the record.
void ReportLoss() {
  std::fputs("log record lost: out of memory\n", stderr);
}

}  // namespace

int zlog_init(const char* /*config*/) {
  try {
    TheState().to_journal = ipc::LogsToJournal();
    return 0;
  } catch (const std::exception&) {
    return -1;
  }
}

void zlog_fini() {
  TheState().categories.clear();
}

zlog_category_t* zlog_get_category(const char* name) {
  try {
    auto& category = TheState().categories[name];
    if (category == nullptr) {
      category = std::make_unique<zlog_category_t>(zlog_category_t{name});
    }
    return category.get();
  } catch (const std::exception&) {
    return nullptr;
  }
}

void zlog(zlog_category_t* category, const char* file, size_t filelen, const char* func,
          size_t funclen, long line, int level, const char* format, ...) {
  if (category == nullptr) {
    return;
  }
  char* formatted = nullptr;
  va_list arguments;
  va_start(arguments, format);
  const int size = vasprintf(&formatted, format, arguments);
  va_end(arguments);
  if (size < 0) {
    ReportLoss();
    return;
  }
  const Text message(formatted);
  try {
    Emit({program_invocation_short_name,
          category->name,
          {file, filelen},
          {func, funclen},
          line,
          level,
          message.get()});
  } catch (const std::exception&) {
    ReportLoss();
  }
}
