#include "verification.h"

#include <fmt/format.h>

#include "core/path.h"
#include "core/tree_location.h"
#include "poll_readable.h"
#include "tree_codec.h"

namespace cfmctl {

Verification::Verification(AgentClient reader, AgentClient watcher, ManagerObserver manager,
                           InterfaceIds interface_ids, std::chrono::milliseconds timeout)
    : reader_(std::move(reader)),
      watcher_(std::move(watcher)),
      manager_(std::move(manager)),
      interface_ids_(std::move(interface_ids)) {
  watcher_.WatchStatus();
  const auto status = watcher_.NextStatus(Deadline::After(timeout));
  if (!status) {
    throw Failure(ExitStatus::kTimedOut, "the agent did not tell its status");
  }
  const auto held = manager_.Next(Deadline::After(timeout));
  if (!held) {
    throw Failure(ExitStatus::kTimedOut, "the CFM manager did not say what it holds");
  }
  held_ = held->hierarchy;
  ReadCommitted(status->txid());
}

std::vector<Difference> Verification::Await(const Deadline& deadline) {
  while (true) {
    TakeNews();  // also what came together with the first answers
    std::vector<Difference> differences = Compare(committed_, held_);
    if (differences.empty() || !PollReadable({watcher_.Fd(), manager_.Fd()}, deadline)) {
      return differences;
    }
  }
}

// The configuration is read after the transaction id, so it is that
// transaction's or a later one's, of which the watcher tells.
void Verification::ReadCommitted(std::uint64_t txid) {
  cfm::agent::Request request;
  request.mutable_get()->set_datastore(cfm::agent::DATASTORE_RUNNING);
  request.mutable_get()->set_format(cfm::agent::FORMAT_TREE);
  request.mutable_get()->set_with_defaults(true);
  const cfm::agent::Reply reply = reader_.Ask(request);
  if (!reply.errors().empty()) {
    throw Failure(ExitStatus::kRefused, fmt::format("the running configuration cannot be read: {}",
                                                    reply.errors(0).message()));
  }
  const TreeNode top = ToTree(reply.node());
  const std::vector<const TreeNode*> nodes = NodesAt(top, ParsePath(""));
  try {
    committed_ =
        nodes.empty() ? cfm::Hierarchy() : ExpectedHierarchy(*nodes.front(), interface_ids_);
  } catch (const ConversionError& error) {
    throw Failure(ExitStatus::kRefused,
                  fmt::format("what is committed has no hierarchy: {}", error.what()));
  }
  txid_ = txid;
}

void Verification::TakeNews() {
  const Deadline now = Deadline::After(std::chrono::milliseconds(0));
  while (auto held = manager_.Next(now)) {
    held_ = std::move(held->hierarchy);
  }
  std::uint64_t txid = txid_;
  while (const auto status = watcher_.NextStatus(now)) {
    txid = status->txid();
  }
  if (txid != txid_) {
    ReadCommitted(txid);
  }
}

}  // namespace cfmctl
