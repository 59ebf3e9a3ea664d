// Where the processes of one element log: to the journal, or one line a record
// on the standard error stream.
#ifndef IPC_LOG_OUTPUT_H
#define IPC_LOG_OUTPUT_H

#include <string>
#include <string_view>
#include <vector>

namespace ipc {

// $CFM_LOG (`journal` or `stderr`); by default the journal where there is one.
bool LogsToJournal();

// `text` without control characters: \n, \t and \r as such, others as \xNN.
std::string OneLine(std::string_view text);

// One record of fields `NAME=value` (sd_journal_sendv). A journal that takes
// no more records has nobody to be reported to, so nothing comes back.
void SendToJournal(const std::vector<std::string>& fields);

// Where in the source a record is written.
struct Place {
  const char* file;
  const char* function;
  int line;

  explicit Place(const char* the_file = __builtin_FILE(),
                 const char* the_function = __builtin_FUNCTION(), int the_line = __builtin_LINE())
      : file(the_file), function(the_function), line(the_line) {}
};

// Fields of a journal record of an error that has no category of the log.
std::vector<std::string> ErrorFields(const std::string& program, const std::string& text,
                                     const Place& where);

// An error outside any category, as when a process cannot start: a record of
// the journal where the standard error stream goes there, else the line
// `program: text` on that stream, for the operator who started it by hand.
void ReportError(const std::string& text, const Place& where = Place());

// Writes `line` and the end of the line in one piece, for several processes
// may share the stream.
void WriteLine(std::string line);

}  // namespace ipc

#endif
