#include "log_output.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

// The records carry the place that they speak of, not this file.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

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

void WriteLine(std::string line) {
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace ipc
