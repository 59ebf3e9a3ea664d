#include "replies.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include "core/escape.h"
#include "core/failure.h"

namespace cfmctl {
namespace {

std::string ToLine(const cfm::agent::Error& error) {
  const std::string where = error.path().empty() ? "" : error.path() + ": ";
  const std::string rule = error.rule().empty() ? "" : fmt::format(" (rule: {})", error.rule());
  return Printable(where + error.message() + rule);
}

}  // namespace

void CheckReply(const Environment& environment, const cfm::agent::Reply& reply,
                const std::string& refusal) {
  for (const std::string& warning : reply.warnings()) {
    fmt::print(environment.err, "cfmctl: warning: {}\n", Printable(warning));
  }
  if (reply.errors().empty()) {
    return;
  }
  std::vector<std::string> lines;
  for (const cfm::agent::Error& error : reply.errors()) {
    lines.push_back(ToLine(error));
  }
  throw Failure(ExitStatus::kRefused, refusal, lines);
}

void ReportCommit(const Environment& environment, const cfm::agent::Reply& reply) {
  if (reply.nothing_changed()) {
    fmt::print(environment.out, "nothing to change: still transaction {}\n", reply.txid());
  } else {
    fmt::print(environment.out, "committed: transaction {}\n", reply.txid());
  }
}

}  // namespace cfmctl
