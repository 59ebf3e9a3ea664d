// A virtual clock, elements on it, and virtual wires between their ports. A
// frame takes no time. The world carries out the effects of its elements and
// keeps what they reported.
#ifndef CFM_TESTS_ENGINE_WORLD_H
#define CFM_TESTS_ENGINE_WORLD_H

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ccm.h"
#include "configurations.h"
#include "engine.h"

namespace cfm::engine {

using namespace std::chrono_literals;

// A moment whose uptime is the monotonic time and a bit.
Moment At(Nanoseconds monotonic);

struct SentFrame {
  Nanoseconds at{0};
  PortId port = 0;
  Bytes bytes;
};

struct Raised {
  Nanoseconds at{0};
  Defect defect = Defect::kNone;
};

struct Element {
  explicit Element(const std::string& sender_id) : engine(sender_id) {}

  const st_lmep_status& Local(const OneMep& mep) const;
  const st_rmep_status& Remote(const OneMep& mep, std::uint16_t id) const;
  // The defects of the one MEP that the element has as letters, in ascending
  // priority: A, S, R, I, X.
  std::string Defects() const;
  st_lmep_stats Counters() const { return engine.Statistics().at(0).statistics; }

  Engine engine;
  Hierarchy applied;  // the last configuration
  std::map<PortId, PortFacts> ports;
  // What stands reported.
  std::map<MepName, st_lmep_status> locals;
  std::map<std::pair<MepName, std::uint16_t>, st_rmep_status> remotes;
  std::set<PortId> blocked;
  // What happened, in order.
  std::vector<Effect> reports;  // all but frames
  std::vector<Raised> alarms;
  std::vector<SentFrame> sent;
};

struct Wire {
  Element* ends[2];
  PortId ports[2];
  bool cut[2] = {false, false};  // for frames sent by that end
};

class World {
 public:
  static constexpr PortId kPort = 1;

  // With port 1, up and forwarding.
  Element& AddElement(const std::string& sender_id = {});
  Wire& Connect(Element& left, PortId left_port, Element& right, PortId right_port);

  Nanoseconds Now() const { return now_; }
  void Run(Nanoseconds time);

  std::vector<std::string> Apply(Element& element, const Hierarchy& hierarchy);
  void SetPort(Element& element, PortId port, const PortFacts& facts);
  void RemovePort(Element& element, PortId port);
  void Inject(Element& element, PortId port, const Bytes& frame);
  void Inject(Element& element, const Ccm& ccm, std::uint16_t vlan = 10);

 private:
  void Collect(Element& element);
  void Note(Element& element, const Effect& effect);
  void Send(Element& element, PortId port, const Bytes& frame);

  Nanoseconds now_{1h};
  std::deque<Element> elements_;
  std::deque<Wire> wires_;
};

PortFacts GoodPort(std::uint8_t number);

// A CCM as a remote MEP of `mep` with the lowest id would send it.
Ccm PeerCcm(const OneMep& mep);

// Two elements, MEP 1 here and MEP 2 there, joined by a wire.
struct Pair {
  explicit Pair(OneMep mep = {});

  World world;
  OneMep here_mep;
  OneMep there_mep;
  Element& here;
  Element& there;
  Wire& wire;
};

}  // namespace cfm::engine

#endif
