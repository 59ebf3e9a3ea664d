#include "replies.h"

#include <fmt/ostream.h>

#include "client/error_lines.h"
#include "core/escape.h"
#include "core/failure.h"

namespace cfmctl {

void CheckReply(const Environment& environment, const cfm::agent::Reply& reply,
                const std::string& refusal) {
  PrintWarnings(environment, {reply.warnings().begin(), reply.warnings().end()});
  if (!reply.errors().empty()) {
    throw Failure(ExitStatus::kRefused, refusal, ErrorLines(reply));
  }
}

void PrintWarnings(const Environment& environment, const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings) {
    fmt::print(environment.err, "cfmctl: warning: {}\n", Printable(warning));
  }
}

void ReportCommit(const Environment& environment, const cfm::agent::Reply& reply) {
  if (reply.nothing_changed()) {
    fmt::print(environment.out, "nothing to change: still transaction {}\n", reply.txid());
  } else {
    fmt::print(environment.out, "committed: transaction {}\n", reply.txid());
  }
}

}  // namespace cfmctl
