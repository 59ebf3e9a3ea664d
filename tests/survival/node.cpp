#include "node.h"

#include <fmt/format.h>
#include <sys/resource.h>

#include <cerrno>
#include <system_error>

#include "front_end.h"

namespace survival {
namespace {

std::string InterfaceTable(const std::filesystem::path& wires) {
  std::string table;
  for (int port = 0; port < kPorts; ++port) {
    table += fmt::format("eth{} {} wire {}/w{}\n", port, port + 1, wires.string(), port);
  }
  return table;
}

// On a level and a VLAN that nothing random has.
test::Configuration Link(int mep, int remote) {
  test::Mep end{.interface = fmt::format("eth{}", kLinkPort),
                .direction = "down",
                .primary_vlan_id = std::nullopt,
                .continuity_check = test::ContinuityCheck{}};
  end.continuity_check->cci_enabled = true;
  test::Ma ma{.ccm_interval = "1s",
              .primary_vlan_id = 4000,
              .vlan_list = {4000},
              .remote_meps = {remote},
              .meps = {{mep, end}}};
  return {{"link", {.level = 7, .mas = {{"between", ma}}}}};
}

}  // namespace

const char* NameOf(Part part) {
  static constexpr const char* kNames[] = {"agentd", "cfm-app", "cfm-managerd"};
  return kNames[static_cast<std::size_t>(part)];
}

Node::Node(std::string name, const std::filesystem::path& wires, int mep, int remote)
    : name_(std::move(name)),
      controls_(element_.Directory() / "controls"),
      mep_(mep),
      remote_(remote),
      link_(Link(mep, remote)) {
  element_.SetInterfaces(InterfaceTable(wires));
  for (const Part part : kParts) {
    points_.emplace_back(PointsOf(part));
  }
  element_.SetVariable("LD_PRELOAD", PRELOADED);
  element_.SetVariable(kControlsVariable, (element_.Directory() / "controls").string());
}

const std::filesystem::path Node::LogOf(Part part) const {
  return element_.Directory() / (std::string(survival::NameOf(part)) + ".log");
}

std::filesystem::path Node::PointsOf(Part part) const {
  return element_.Directory() / (std::string(survival::NameOf(part)) + ".points");
}

std::filesystem::path Node::SocketOf(Part part) const {
  return element_.RuntimeDirectory() / (std::string(survival::NameOf(part)) + ".sock");
}

void Node::Start(Part part) {
  Life& life = Of(part);
  std::error_code not_there_yet;
  const std::uintmax_t log_size = std::filesystem::file_size(LogOf(part), not_there_yet);
  life.log_begin = not_there_yet ? 0 : log_size;
  life.asked_to_end.reset();
  life.has_hit = false;
  points_[static_cast<std::size_t>(part)].Forget();
  if (!life.armed.empty()) {
    element_.SetVariable("CFM_FAIL_POINT", life.armed);
    element_.SetVariable("CFM_FAIL_POINT_LOG", PointsOf(part).string());
  }
  switch (part) {
    case Part::kAgent:
      // Long enough for a loaded machine, short enough to be waited for.
      life.process = &element_.StartAgent({"--subscriber-timeout", "5", "--provider-timeout", "5"});
      LetFilesGrow(disk.may_grow);
      break;
    case Part::kDaemon:
      life.process = &element_.StartDaemon();
      break;
    case Part::kManager:
      life.process = &element_.StartManager();
      break;
  }
  // cfmctl passes points of the same names.
  element_.RemoveVariable("CFM_FAIL_POINT");
  element_.RemoveVariable("CFM_FAIL_POINT_LOG");
}

// The agent may have ended, and Start does it then.
void Node::LetFilesGrow(bool may_grow) {
  disk.may_grow = may_grow;
  const test::Process* agent = Of(Part::kAgent).process;
  const rlimit limit{may_grow ? RLIM_INFINITY : 0, RLIM_INFINITY};
  if (agent != nullptr && prlimit(agent->Pid(), RLIMIT_FSIZE, &limit, nullptr) != 0 &&
      errno != ESRCH) {
    throw std::system_error(errno, std::generic_category(), "limit the size of files");
  }
}

void Node::MendDisk() {
  controls_->write_fault = WriteFault::kNone;
  controls_->read_fault = ReadFault::kNone;
  controls_->sync_fails = 0;
  LetFilesGrow(true);
  disk.may_refuse = false;
}

bool Node::ComesToPoint(Part part) {
  const std::string& armed = Of(part).armed;
  return !armed.empty() && points_[static_cast<std::size_t>(part)].Holds(armed);
}

test::Configuration Node::Full(const test::RandomConfiguration& random_part) const {
  test::Configuration full = random_part.Current();
  full.insert(link_.begin(), link_.end());
  return full;
}

}  // namespace survival
