#include "log_output.h"

#include <sys/stat.h>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

// The records carry the place that they speak of, not this file.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include "file_name.h"

namespace ipc {
namespace {

constexpr const char* kJournalSocket = "/run/systemd/journal/socket";

void AppendEscaped(std::string& out, char character) {
  switch (character) {
    case '\n':
      out += "\\n";
      return;
    case '\t':
      out += "\\t";
      return;
    case '\r':
      out += "\\r";
      return;
    default:
      break;
  }
  constexpr std::string_view kHex = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(character);
  out += "\\x";
  out += kHex[byte >> 4];
  out += kHex[byte & 0xf];
}

// The service manager tells which stream is the journal's: `device:inode`.
bool ErrorStreamIsJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  if (stream == nullptr || fstat(STDERR_FILENO, &status) < 0) {
    return false;
  }
  return stream == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

bool IsControl(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7f;
}

}  // namespace

bool LogsToJournal() {
  const char* choice = std::getenv("CFM_LOG");
  const std::string_view wanted = choice != nullptr ? choice : "";
  if (wanted == "journal" || wanted == "stderr") {
    return wanted == "journal";
  }
  return access(kJournalSocket, F_OK) == 0;
}

std::string OneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char character : text) {
    if (IsControl(character)) {
      AppendEscaped(line, character);
    } else {
      line += character;
    }
  }
  return line;
}

void SendToJournal(const std::vector<std::string>& fields) {
  std::vector<iovec> pieces;
  pieces.reserve(fields.size());
  for (const std::string& field : fields) {
    pieces.push_back({const_cast<char*>(field.data()), field.size()});
  }
  sd_journal_sendv(pieces.data(), static_cast<int>(pieces.size()));
}

std::vector<std::string> ErrorFields(const std::string& program, const std::string& text,
                                     const Place& where) {
  return {
      "MESSAGE=" + OneLine(text),
      "PRIORITY=" + std::to_string(LOG_ERR),
      "CODE_FILE=" + std::string(FileName(where.file)),
      "CODE_LINE=" + std::to_string(where.line),
      "CODE_FUNC=" + std::string(where.function),
      "SYSLOG_IDENTIFIER=" + program,
  };
}

void ReportError(const std::string& text, const Place& where) {
  if (LogsToJournal() && ErrorStreamIsJournal()) {
    SendToJournal(ErrorFields(program_invocation_short_name, text, where));
  } else {
    WriteLine(std::string(program_invocation_short_name) + ": " + OneLine(text));
  }
}

void WriteLine(std::string line) {
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace ipc
