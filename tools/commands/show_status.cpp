#include "show_status.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include "client/status_reader.h"
#include "core/failure.h"
#include "core/status_document.h"
#include "core/status_tables.h"
#include "replies.h"

namespace cfmctl {
namespace {

constexpr std::size_t kMaxWarnings = 10;

std::string ToText(const StatusRecords& records, StatusView view, const std::string& format) {
  if (format == "table") {
    return records.empty() ? "no MEP has a status\n" : StatusTables(records, view);
  }
  return StatusDocument(records, format == "xml" ? DocumentFormat::kXml : DocumentFormat::kJson);
}

// Each record that was read may bring one of its own.
std::vector<std::string> Shortened(std::vector<std::string> warnings) {
  const std::size_t all = warnings.size();
  if (all > kMaxWarnings) {
    warnings.resize(kMaxWarnings);
    warnings.push_back(fmt::format("and {} more of the kind", all - kMaxWarnings));
  }
  return warnings;
}

}  // namespace

void ShowStatus(const Environment& environment, StatusView view, const MepSelection& selection,
                const std::string& format) {
  const StatusReading reading =
      ReadStatus([&] { return environment.ConnectAgent(); }, selection, environment.Timeout());
  PrintWarnings(environment, Shortened(reading.warnings));
  const StatusRecords records = Narrowed(reading.records, view);
  const bool everything_is_missing = !reading.warnings.empty() && !HoldsAnything(records);
  if (records.empty() && !selection.IsEverything() && !everything_is_missing) {
    throw Failure(ExitStatus::kRefused, fmt::format("no status of {}", ToText(selection)));
  }
  fmt::print(environment.out, "{}", ToText(records, view, format));
  if (everything_is_missing) {
    throw Failure(ExitStatus::kUnreachable,
                  "nothing of this can be had now; is cfm-app running? (\"cfmctl status\" tells)");
  }
}

}  // namespace cfmctl
