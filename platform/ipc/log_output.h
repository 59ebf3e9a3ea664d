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

// Writes `line` and the end of the line in one piece, for several processes
// may share the stream.
void WriteLine(std::string line);

}  // namespace ipc

#endif
