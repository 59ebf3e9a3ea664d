// What operators do when nothing is wrong, and what they get wrong.

#include <fmt/format.h>

#include <array>

#include "failure.h"
#include "operations.h"
#include "steps.h"
#include "views.h"

namespace survival {
namespace {

using cfm::agent::EditOperation;

constexpr const char* kLink = "/config/oam/cfm/md[id='link']";

struct Mistake {
  EditOperation::Operation operation;
  const char* below_link;
  const char* value = nullptr;
};

constexpr std::array kMistakes = {
    Mistake{EditOperation::MERGE, "/level", "8"},
    Mistake{EditOperation::MERGE, "/level", "high"},
    Mistake{EditOperation::MERGE, "/colour", "blue"},
    Mistake{EditOperation::DELETE, "/ma[id='nowhere']"},
    Mistake{EditOperation::DELETE, "/ma[id='between']/ccm-interval"},
    Mistake{EditOperation::DELETE, "/ma[id='between']/vlan-list[.='4000']"},
    Mistake{EditOperation::MERGE, "/ma[id='between']/primary-vlan-id", "3999"},
    Mistake{EditOperation::CREATE, "/ma[id='between']"},
};

void Append(const Mistake& mistake, cfm::agent::Edit& edit) {
  EditOperation& operation = *edit.add_operations();
  operation.set_operation(mistake.operation);
  operation.set_path(std::string(kLink) + mistake.below_link);
  if (mistake.value != nullptr) {
    operation.set_value(mistake.value);
  }
}

}  // namespace

Outcome Commit(Context& context) {
  Perform(context, context.node, Kind::kCommit);
  return {};
}

Outcome CommitCandidate(Context& context) {
  Perform(context, context.node, Kind::kCandidateCommit);
  return {};
}

Outcome CommitWithCfmctl(Context& context) {
  CommitByCommand(context, context.node);
  return {};
}

// Of a commit with a mistake at its end nothing may stay.
Outcome TryRefused(Context& context) {
  const Mistake& mistake = context.chance.Pick(kMistakes);
  test::RandomConfiguration dropped = context.node.random;
  dropped.Reseed(context.chance.Number());
  cfm::agent::Request request;
  *request.mutable_edit() = dropped.NextCommit();
  Append(mistake, *request.mutable_edit());
  test::FrontEnd front_end(context.node.Element().RuntimeDirectory());
  if (Ask(context.supervisor, front_end, request).errors_size() == 0) {
    throw Failure(fmt::format("an invalid commit was done: {}", mistake.below_link));
  }
  context.Say(fmt::format("commit with a mistake at {} refused", mistake.below_link));
  context.report.Count("invalid commit refused");
  return {};
}

Outcome Read(Context& context) {
  Perform(context, context.node, context.chance.OneIn(2) ? Kind::kRead : Kind::kReadCounters);
  return {};
}

Outcome Watch(Context& context) {
  const auto watch = context.node.Element().StartCfmctl(
      {"watch", "--until", "state=rmep-failed", "--timeout", "30", "link", "between"});
  context.wires.Cut(kLinkPort);
  if (!context.supervisor.Await(
          {watch->EndFd()}, [&] { return watch->Status().has_value(); },
          Clock::now() + 2 * test::kPatience) ||
      (watch->Status() != 0 && !context.supervisor.Excuses(context.node))) {
    throw Failure("cfmctl watch does not see the link fail: " + watch->Log());
  }
  context.Say(fmt::format("cfmctl watch status {}", *watch->Status()));
  return {};
}

Outcome Clear(Context& context) {
  Perform(context, context.node, Kind::kClear);
  return {};
}

}  // namespace survival
