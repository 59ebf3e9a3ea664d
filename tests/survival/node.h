// One element of the campaign: its processes, and what is to be in them.
#ifndef TESTS_SURVIVAL_NODE_H
#define TESTS_SURVIVAL_NODE_H

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "element.h"
#include "front_end.h"
#include "mapped_controls.h"
#include "point_log.h"
#include "random_configuration.h"

namespace survival {

enum class Part { kAgent, kDaemon, kManager };
inline constexpr std::array kParts = {Part::kAgent, Part::kDaemon, Part::kManager};
// agentd, cfm-app, cfm-managerd.
const char* NameOf(Part part);

// The interface of the link between the elements is the one behind those of
// the random configuration.
inline constexpr int kLinkPort = 4;
inline constexpr int kPorts = kLinkPort + 1;

// A process from its start to its end.
struct Life {
  test::Process* process = nullptr;  // null: none was started yet, or it has ended
  std::uintmax_t log_begin = 0;      // where in its log it begins
  bool stays_down = false;           // not to be started when it ends
  std::optional<int> asked_to_end;   // the signal
  int starts = 0;                    // in this step
  std::string armed;                 // the fail point that it started with; empty: none
  bool has_hit = false;              // it came there, and failed
};

// What has happened to an element, in counts that only grow.
struct Disturbances {
  int all = 0;             // a process ended, stood still or had a transfer fail
  int agent_losses = 0;    // of them those by which cfm-app may have lost the agent
  int missed_commits = 0;  // commits that were made, or may have been, without it
};

// The disk under the agent's database.
struct Disk {
  bool may_refuse = false;        // commits
  bool may_grow = true;           // its files; also for an agent that is started now
  bool was_mended_early = false;  // for an agent that could not begin
  bool has_failed = false;        // since everything was equal last
};

class Node {
 public:
  // Nothing runs yet. `mep` and `remote` are the ends of the link, which is
  // always configured.
  Node(std::string name, const std::filesystem::path& wires, int mep, int remote);

  const std::string& Name() const { return name_; }
  std::string NameOf(Part part) const { return name_ + "'s " + survival::NameOf(part); }
  test::Element& Element() { return element_; }
  MappedControls& Disturb() { return controls_; }
  Life& Of(Part part) { return lives_[static_cast<std::size_t>(part)]; }
  const std::filesystem::path LogOf(Part part) const;
  std::filesystem::path SocketOf(Part part) const;  // of agent and manager
  // With the fail point that its life says.
  void Start(Part part);
  // Whether files of the agent may grow.
  void LetFilesGrow(bool may_grow);
  void MendDisk();
  // Whether the process has come to its fail point by now.
  bool ComesToPoint(Part part);

  // The whole configuration, with the link.
  test::Configuration Full(const test::RandomConfiguration& random) const;
  test::Configuration Current() const { return Full(random); }
  // The records of the link, as RecordsView names them.
  std::string LocalEnd() const { return "local link between " + std::to_string(mep_); }
  std::string RemoteEnd() const { return "remote link between " + std::to_string(remote_); }

  test::RandomConfiguration random{0};
  // After a commit whose outcome nobody told, what it would have made of it.
  std::optional<test::RandomConfiguration> maybe;
  // After a commit that was refused, with the word that the next agent may find it
  // on the disk, what it would have made of it. Until another one is done.
  std::optional<test::RandomConfiguration> may_be_found;
  struct Disk disk;
  // Commits that are under way: what becomes of them is not known.
  int open_commits = 0;
  Disturbances so_far;
  // As they were when everything began to be compared, and was equal.
  Disturbances at_rest;
  std::uintmax_t agent_log_at_rest = 0;

 private:
  std::filesystem::path PointsOf(Part part) const;

  std::string name_;
  test::Element element_;
  MappedControls controls_;
  std::array<Life, kParts.size()> lives_;
  std::vector<PointLog> points_;  // by part
  int mep_;
  int remote_;
  test::Configuration link_;
};

}  // namespace survival

#endif
