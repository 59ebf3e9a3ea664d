// The wires between the elements, cut and mended.

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "failure.h"
#include "operations.h"
#include "steps.h"
#include "views.h"

namespace survival {
namespace {

// What a MEP that is heard says of itself, and what is made of it.
struct Heard {
  const char* leaf;
  const char* value;
};

constexpr std::array kHeard = {Heard{"state", "rmep-ok"}, Heard{"rx-interface-status-tlv", "up"},
                               Heard{"rx-port-status-tlv", "up"}};

bool IsHeard(const RecordsView& records, const std::string& remote) {
  return std::ranges::all_of(
      kHeard, [&](const Heard& each) { return records.LeafOf(remote, each.leaf) == each.value; });
}

}  // namespace

void AwaitLink(Supervisor& supervisor, Node& node, bool well) {
  RecordsView records(supervisor, node);
  const std::string remote = node.RemoteEnd();
  const auto is_so = [&] {
    return well ? IsHeard(records, remote) : records.LeafOf(remote, "state") == "rmep-failed";
  };
  if (!records.AwaitUntil(is_so)) {
    throw Failure(fmt::format("{}: the other end of the link is {}, interface {}, port {}",
                              node.Name(), records.LeafOf(remote, "state"),
                              records.LeafOf(remote, "rx-interface-status-tlv"),
                              records.LeafOf(remote, "rx-port-status-tlv")));
  }
}

Outcome CutWire(Context& context) {
  AwaitLink(context.supervisor, context.node, true);
  context.wires.Cut(kLinkPort);
  const auto begin = Clock::now();
  if (context.chance.OneIn(2)) {
    Perform(context, context.node, Kind::kCommit);
  }
  AwaitLink(context.supervisor, context.node, false);
  context.report.Detected("wire cut", Clock::now() - begin);
  context.wires.Mend(kLinkPort);
  context.Say("the link was cut and mended");
  return {.fault = "wire cut", .over = Clock::now(), .await_link = true};
}

namespace {

// The manager has to see each change, so that it is one.
void Change(Context& context, int wire, bool is_cut) {
  const std::string says = fmt::format("port eth{} is {}:", wire, is_cut ? "down" : "up");
  LogWatch line(context.node.LogOf(Part::kManager), says);
  if (is_cut) {
    context.wires.Cut(wire);
  } else {
    context.wires.Mend(wire);
  }
  if (!context.supervisor.Await(
          {line.Fd()}, [&line] { return line.Seen().has_value(); },
          Clock::now() + test::kPatience)) {
    throw Failure("waited in vain for: " + says, context.node.LogOf(Part::kManager));
  }
}

}  // namespace

// They pile up while cfm-app stands still, and must not when it does not.
Outcome FloodStatus(Context& context) {
  const int times = 10 + context.chance.Below(100);
  const bool piles_up = context.chance.OneIn(2);
  InFlight read(context, context.node, Kind::kReadCounters);
  if (piles_up) {
    // Nobody waits for it, so it is not given up.
    context.supervisor.Freeze(context.node, Part::kDaemon);
  } else {
    read.Send();
  }
  for (int i = 0; i < times; ++i) {
    const int wire = context.chance.OneIn(2) ? kLinkPort : context.chance.Below(kPorts);
    Change(context, wire, true);
    Change(context, wire, false);
  }
  context.supervisor.Thaw(context.node, Part::kDaemon);
  const auto over = Clock::now();
  context.report.Count("change of a wire in a flood", 2 * times);
  if (piles_up) {
    read.Send();
  }
  read.Finish();
  Perform(context, context.node, Kind::kCommit);
  context.Say(fmt::format("wires cut and mended {} times{}", times,
                          piles_up ? " while cfm-app stood still" : ""));
  return {.fault = "flood of status changes", .over = over, .await_link = true};
}

}  // namespace survival
