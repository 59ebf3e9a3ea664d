// The continuity check of IEEE 802.1Q clauses 18 to 22 for one element, as a
// function of its inputs: configuration, ports, frames and time come in,
// effects go out. It has no clock, opens nothing and never waits.
//
// Every input carries the time. Time does not go back; whatever became due
// before an input is done before it. After an input the caller takes the
// effects, carries them out in their order, and calls Advance when the next
// deadline comes.
//
// The relay of the element is modelled no further than a continuity check
// needs: a frame that no MEP of its port holds back reaches the up MEPs of the
// other ports, and an up MEP's frame leaves through every other port. Frames in
// transit between two ports are the element's own business.
//
// Costs: O(log n) for a frame or a deadline. A configuration costs what its
// touched MDs hold, and a pass over all MEPs when one of them comes, goes, or
// says or hears something else.
#ifndef CFM_ENGINE_ENGINE_H
#define CFM_ENGINE_ENGINE_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cfm/hierarchy.h"
#include "effect.h"
#include "mep.h"
#include "mep_directory.h"
#include "moment.h"
#include "port_table.h"
#include "surroundings.h"

namespace cfm::engine {

struct RemoteStatistics {
  std::uint16_t remote = 0;
  st_rmep_stats statistics{};
};

struct MepStatistics {
  MepName mep;
  st_lmep_stats statistics{};
  std::vector<RemoteStatistics> remotes;  // by id
};

class Engine {
 public:
  // `sender_id` goes into CCMs as the chassis id; empty: they carry none. It
  // is cut to kLongestSenderId octets.
  explicit Engine(std::string sender_id = {});

  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // Replaces the configuration. `touched` names the MDs that came, went, or are
  // not as they were, and may name others. A MEP keeps its counters as long as it
  // is there, and its state and timers as long as nothing changes that it says
  // or hears by; a change of its fault times, lowest defect or fault action
  // takes effect at once, that of a remote MEP touches only that one. Removals
  // are reported before anything else. Returns a line for each MEP, of whatever
  // MD, that stays idle because its configuration makes no sense.
  std::vector<std::string> Apply(const Hierarchy& hierarchy, const std::set<std::string>& touched,
                                 const Moment& now);

  // A port that appears or changes, and one that is gone. MEPs of a port that
  // does not exist are idle.
  void SetPort(PortId port, const PortFacts& facts, const Moment& now);
  void RemovePort(PortId port, const Moment& now);

  // A frame came in at the port from outside. Any bytes will do; frames that
  // are not CCMs are passed over.
  void Receive(PortId port, ByteView frame, const Moment& now);

  void Advance(const Moment& now);
  // On the monotonic clock; empty: nothing will happen by itself.
  std::optional<Nanoseconds> NextDeadline() const { return around_.timers.NextDeadline(); }

  // What came together since the last call.
  Effects TakeEffects() { return std::exchange(around_.effects, {}); }

  // Adds the status of every MEP, each before those of its remote MEPs.
  void ReportAll();
  // By MD name, MA name and id.
  std::vector<MepStatistics> Statistics() const;
  // Empty names and MEP 0 stand for all. An id stands for a local MEP, with
  // all that it counts of others, and for the remote MEP of that id.
  void ClearStatistics(std::string_view md, std::string_view ma, std::uint16_t mep);

 private:
  using Meps = std::map<MepName, std::unique_ptr<Mep>>;

  void RunDue(const Moment& now);
  Meps::iterator FirstOf(const std::string& md) { return meps_.lower_bound({md, "", 0}); }
  // Whether frames meet the MEPs of an MD as before.
  bool KeepsTheWay(const std::string& md, const MepPlan& plan);
  std::vector<std::string> Warnings() const;
  void RemoveGone(const std::string& md, const MepPlan& plan);
  // A reader of the effects may file remote MEPs by MD, MA and id alone. One
  // that was removed since then but that another MEP still sees is shown again.
  void ReportOtherViews(std::size_t since);
  void Adopt(MepPlan plan);
  void PortChanged(PortId port);
  void OfferToRelay(PortId from, const CfmFrame& frame);

  Surroundings around_;
  Meps meps_;
  std::map<std::string, std::vector<std::string>> warnings_;  // by MD
  MepDirectory directory_;
};

}  // namespace cfm::engine

#endif
