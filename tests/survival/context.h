// What a step of the campaign works with.
#ifndef TESTS_SURVIVAL_CONTEXT_H
#define TESTS_SURVIVAL_CONTEXT_H

#include <string>
#include <vector>

#include "chance.h"
#include "node.h"
#include "report.h"
#include "supervisor.h"
#include "unique_fd.h"
#include "wires.h"

namespace survival {

struct Context {
  Chance& chance;
  Supervisor& supervisor;
  Report& report;
  Wires& wires;
  // Connections on which half a frame was sent.
  std::vector<ipc::UniqueFd>& hanging;
  Node& node;   // that the step is about
  Node& other;  // at the other end of the wires
  // What the step did, for the one line about it.
  std::string story;

  void Say(const std::string& text) { story += (story.empty() ? "" : ", ") + text; }
};

}  // namespace survival

#endif
