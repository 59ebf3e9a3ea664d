#include "cases.h"

#include <fail_points.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <utility>

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

// Steps of making good what has failed before. The agent's start writes eight
// times.
constexpr std::array kProvoked = {
    std::pair{"agent_commit_failed", "disk_write:10:error"},
    std::pair{"agent_commit_rolling_back", "disk_write:10:error"},
    std::pair{"agent_commit_rolled_back", "disk_write:10:error"},
    std::pair{"agent_commit_burying", "disk_sync:error"},
    std::pair{"agent_commit_buried", "disk_sync:error"},
    std::pair{"velconfd_session_lost", "frame_send:30:error"},
};

// A point that is passed once a message has to fail at many of them.
const std::vector<int> kSkippedByKills = {1, 2, 4, 8, 16, 32, 64};
const std::vector<int> kSkippedByFaults = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14,
                                           15, 16, 18, 20, 22, 24, 26, 28, 30, 32, 40, 48, 56, 64};

bool CanTake(failpoint::Kind kind, const std::string& action) {
  return action == "short" ? failpoint::CanBeShort(kind)
                           : action != "error" || failpoint::CanFail(kind);
}

}  // namespace

std::string Case::FailPoint() const {
  const auto provoked =
      std::ranges::find_if(kProvoked, [&](const auto& each) { return each.first == point; });
  return provoked == kProvoked.end() ? Target() : provoked->second + ("," + Target());
}

void PrintTo(const Case& one, std::ostream* out) {
  *out << one.FailPoint();
}

std::string NameOf(const Case& one) {
  const std::string later = one.skip > 0 ? "_after_" + std::to_string(one.skip) : "";
  return one.point + "_" + one.action + later;
}

std::vector<Case> CasesOf(Survivors::Target target, const std::string& action) {
  std::vector<Case> cases;
  for (const failpoint::Entry& entry : failpoint::kAll) {
    if ((entry.programs & BitOf(target)) != 0 && CanTake(entry.kind, action)) {
      cases.push_back({target, std::string(entry.name), action});
    }
  }
  return cases;
}

std::vector<Case> LaterCasesOf(Survivors::Target target, const std::string& action) {
  std::vector<Case> cases;
  const bool is_fault = action == "error" || action == "short";
  for (Case& one : CasesOf(target, action)) {
    for (const int skip : is_fault ? kSkippedByFaults : kSkippedByKills) {
      one.skip = skip;
      cases.push_back(one);
    }
  }
  return cases;
}

std::vector<Case> CasesOfImpatience() {
  std::vector<Case> cases;
  for (const char* point : {"confd_notified",
                            "confd_iterating",
                            "confd_iterated",
                            "velconfd_gathered",
                            "velconfd_commit_started",
                            "velconfd_commit_delivered",
                            "velconfd_commit_applied",
                            "confd_syncing",
                            "confd_request_received",
                            "confd_transaction_opened",
                            "confd_callback_calling",
                            "confd_callback_returned",
                            "confd_replying",
                            "confd_delaying",
                            "confd_action_calling",
                            "confd_action_returned",
                            "confd_transaction_open_answered",
                            "confd_batch_received",
                            "confd_question_worked",
                            "confd_batch_worked",
                            "confd_batch_answering"}) {
    cases.push_back({Survivors::Target::kApp, point, "stop"});
  }
  return cases;
}

}  // namespace test
