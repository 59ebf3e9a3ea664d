// The wires between the elements, cut and mended.

#include <fmt/format.h>

#include "failure.h"
#include "operations.h"
#include "steps.h"
#include "views.h"

namespace survival {
namespace {

std::string RemoteEndOf(const Node& node) {
  const test::Configuration configuration = node.Current();
  const int remote = *configuration.at("link").mas.at("between").remote_meps.begin();
  return fmt::format("remote link between {}", remote);
}

}  // namespace

void AwaitLink(Supervisor& supervisor, Node& node, bool well) {
  RecordsView records(supervisor, node);
  const std::string remote = RemoteEndOf(node);
  if (!records.AwaitUntil([&] { return (records.StateOf(remote) == "rmep-ok") == well; })) {
    throw Failure(
        fmt::format("{}: the other end of the link is {}", node.Name(), records.StateOf(remote)));
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

Outcome FloodStatus(Context& context) {
  const int changes = 20 + context.chance.Below(200);
  InFlight read(context, context.node, Kind::kReadCounters);
  read.Send();
  for (int i = 0; i < changes; ++i) {
    const int wire = context.chance.OneIn(2) ? kLinkPort : context.chance.Below(kPorts);
    context.wires.Cut(wire);
    context.wires.Mend(wire);
  }
  read.Finish();
  Perform(context, context.node, Kind::kCommit);
  context.Say(fmt::format("{} wires cut and mended at once", changes));
  return {.fault = "flood of status changes", .over = Clock::now(), .await_link = true};
}

}  // namespace survival
