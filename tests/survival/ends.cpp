#include "ends.h"

#include <array>

#include "log_watch.h"

namespace survival {
namespace {

struct Reason {
  const char* text;  // in the log
  bool needs_missed_commit;
  const char* why;
};

// All of them need an agent that was lost.
constexpr std::array kReasons = {
    Reason{"the configuration has moved on while the agent was away", true,
           "the configuration moved on without it"},
    Reason{"the agent was lost during the initial load", false,
           "the agent was lost while it loaded"},
    Reason{"Failed to remove local MEP status", false, "the agent was lost in a delete"},
    Reason{"Failed to remove remote MEP status", false, "the agent was lost in a delete"},
    Reason{"Error to retrieve", false, "the agent was lost while it answered a read"},
};

constexpr std::array kSanitizers = {"Sanitizer", "runtime error:"};

// What the process said last.
std::string LastLines(const std::string& log) {
  constexpr std::size_t kBytes = 2000;
  return log.size() > kBytes ? log.substr(log.size() - kBytes) : log;
}

}  // namespace

std::string SanitizerReport(const std::string& log) {
  for (const char* text : kSanitizers) {
    if (const std::size_t at = log.find(text); at != std::string::npos) {
      return log.substr(at, 4000);
    }
  }
  return {};
}

std::optional<std::string> ReasonToEnd(const Node& node, Part part, int status,
                                       const std::string& log) {
  if (part != Part::kDaemon || status != 1 ||
      node.so_far.agent_losses == node.at_rest.agent_losses) {
    return std::nullopt;
  }
  const bool missed_commit = node.open_commits > 0 || node.may_be_found.has_value() ||
                             node.so_far.missed_commits != node.at_rest.missed_commits;
  const std::string last = LastLines(log);
  for (const Reason& reason : kReasons) {
    if (last.find(reason.text) != std::string::npos &&
        (missed_commit || !reason.needs_missed_commit)) {
      return reason.why;
    }
  }
  return std::nullopt;
}

bool AgentGaveUp(const Node& node) {
  const std::string log = ReadLog(node.LogOf(Part::kAgent), node.agent_log_at_rest);
  return log.find("did not answer in time") != std::string::npos ||
         log.find("gave no sign of life") != std::string::npos;
}

}  // namespace survival
