#include "cases.h"

#include <fail_points.h>

#include <ostream>

namespace test {
namespace {

unsigned BitOf(Survivors::Target target) {
  switch (target) {
    case Survivors::Target::kAgentd:
      return failpoint::kAgentd;
    case Survivors::Target::kApp:
      return failpoint::kApp;
    case Survivors::Target::kManagerd:
      break;
  }
  return failpoint::kManagerd;
}

}  // namespace

void PrintTo(const Case& one, std::ostream* out) {
  *out << one.FailPoint();
}

std::string NameOf(const Case& one) {
  const std::string later = one.skip > 0 ? "_after_" + std::to_string(one.skip) : "";
  return one.point + "_" + one.action + later;
}

std::vector<Case> CasesOf(Survivors::Target target, const std::string& action) {
  const bool for_transfers_only = action == "error" || action == "short";
  std::vector<Case> cases;
  for (const failpoint::Entry& entry : failpoint::kAll) {
    const bool has_it = (entry.programs & BitOf(target)) != 0;
    if (has_it && (!for_transfers_only || entry.kind != failpoint::Kind::kStep)) {
      cases.push_back({target, std::string(entry.name), action});
    }
  }
  return cases;
}

std::vector<Case> LaterCasesOf(Survivors::Target target, const std::string& action) {
  std::vector<Case> cases;
  for (Case& one : CasesOf(target, action)) {
    for (const int skip : {1, 2, 4, 8, 16, 32, 64}) {
      one.skip = skip;
      cases.push_back(one);
    }
  }
  return cases;
}

std::vector<Case> CasesOfImpatience() {
  std::vector<Case> cases;
  for (const char* point :
       {"confd_notified", "confd_iterating", "confd_iterated", "velconfd_gathered",
        "velconfd_commit_started", "velconfd_commit_delivered", "velconfd_commit_applied",
        "confd_syncing", "confd_request_received", "confd_transaction_opened",
        "confd_callback_calling", "confd_callback_returned", "confd_replying", "confd_delaying",
        "confd_action_calling", "confd_action_returned"}) {
    cases.push_back({Survivors::Target::kApp, point, "stop"});
  }
  return cases;
}

}  // namespace test
