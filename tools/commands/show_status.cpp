#include "show_status.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include "client/status_reader.h"
#include "configuration.h"
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

// Causes may differ in what a program says of each record.
std::vector<std::string> Shortened(std::vector<std::string> warnings) {
  const std::size_t all = warnings.size();
  if (all > kMaxWarnings) {
    warnings.resize(kMaxWarnings);
    warnings.push_back(fmt::format("and {} more of the kind", all - kMaxWarnings));
  }
  return warnings;
}

// A name that is mistyped, or a MEP that nobody has reported.
[[noreturn]] void FailWithoutStatus(const Environment& environment, const MepSelection& selection) {
  const bool is_configured = IsConfigured(ReadConfiguration(environment), selection);
  throw Failure(ExitStatus::kRefused,
                fmt::format("no status of {}: {}", ToText(selection),
                            is_configured ? "it is configured, and nobody has reported it "
                                            "(\"cfmctl status\" tells who is there)"
                                          : "it is not configured"));
}

}  // namespace

void ShowStatus(const Environment& environment, StatusView view, const MepSelection& selection,
                const std::string& format) {
  const StatusReading reading = ReadStatus(environment.ConnectAgent(), selection,
                                           format == "table" ? TableLeaves(view) : LeavesOf(view));
  PrintWarnings(environment, Shortened(reading.warnings));
  const StatusRecords records = Narrowed(reading.records, view);
  if (records.empty() && !selection.IsEverything()) {
    FailWithoutStatus(environment, selection);
  }
  fmt::print(environment.out, "{}", ToText(records, view, format));
  if (!reading.warnings.empty()) {
    throw Failure(ExitStatus::kIncomplete,
                  "something is missing in what is shown (\"cfmctl status\" tells who is there)");
  }
}

}  // namespace cfmctl
