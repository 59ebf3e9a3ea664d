// What operators do when nothing is wrong, and what they get wrong.

#include <fmt/format.h>

#include <array>

#include "failure.h"
#include "operations.h"
#include "status_record.h"
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

// What the errors of a reply say; empty when there is none.
std::string ErrorIn(const cfm::agent::Reply& reply) {
  return reply.errors_size() == 0 ? "" : reply.errors(0).path() + ": " + reply.errors(0).message();
}

[[noreturn]] void FailDone() {
  throw Failure("an invalid commit was done");
}

std::string RefusalOfCommit(Context& context, const cfm::agent::Edit& edit) {
  test::FrontEnd front_end(context.node.Element().RuntimeDirectory());
  cfm::agent::Request request;
  *request.mutable_edit() = edit;
  const std::string error = ErrorIn(Ask(context.supervisor, front_end, request));
  if (error.empty()) {
    FailDone();
  }
  return error;
}

// The edit of the candidate may be refused, or what it has become.
std::string RefusalOfCandidate(Context& context, const cfm::agent::Edit& edit) {
  test::FrontEnd front_end(context.node.Element().RuntimeDirectory());
  cfm::agent::Request discard;
  discard.mutable_discard_candidate();
  Ask(context.supervisor, front_end, discard);
  cfm::agent::Request fill;
  *fill.mutable_edit() = edit;
  fill.mutable_edit()->set_target(cfm::agent::Edit::CANDIDATE);
  std::string error = ErrorIn(Ask(context.supervisor, front_end, fill));
  if (error.empty()) {
    cfm::agent::Request commit;
    commit.mutable_commit_candidate();
    error = ErrorIn(Ask(context.supervisor, front_end, commit));
  }
  if (error.empty()) {
    FailDone();
  }
  Ask(context.supervisor, front_end, discard);
  return error;
}

// What has documents goes without them: the mistake is the last.
std::string RefusalOfCommand(Context& context, const cfm::agent::Edit& edit) {
  cfm::agent::Edit last;
  *last.add_operations() = edit.operations(edit.operations_size() - 1);
  const auto words = EditCommand(edit).value_or(*EditCommand(last));
  const auto command = context.node.Element().StartCfmctl(words);
  if (AwaitEnd(context, *command, words.front()) == 0) {
    FailDone();
  }
  return command->Log();
}

struct Way {
  const char* name;
  std::string (*refusal)(Context&, const cfm::agent::Edit&);
};

constexpr std::array kWays = {Way{", by a commit", RefusalOfCommit},
                              Way{", in the candidate", RefusalOfCandidate},
                              Way{", with cfmctl", RefusalOfCommand}};

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
  const Way& way = context.chance.Pick(kWays);
  test::RandomConfiguration dropped = context.node.random;
  dropped.Reseed(context.chance.Number());
  cfm::agent::Edit edit = dropped.NextCommit();
  Append(mistake, edit);
  context.Say(fmt::format("a mistake at {}{}", mistake.below_link, way.name));
  const std::string refusal = way.refusal(context, edit);
  // A refusal for another reason, which something that happened excuses.
  if (refusal.find(kLink) == std::string::npos && !context.supervisor.Excuses(context.node)) {
    throw Failure(fmt::format("a mistake at {}{} is refused with '{}'", mistake.below_link,
                              way.name, refusal));
  }
  context.report.Count(std::string("invalid commit refused") + way.name);
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
  const int status = AwaitEnd(context, *watch, "watch");
  if (status != 0 && !context.supervisor.Excuses(context.node)) {
    throw Failure("cfmctl watch does not see the link fail: " + watch->Log());
  }
  context.Say(fmt::format("cfmctl watch status {}", status));
  return {};
}

namespace {

// What the link's own end has sent since its counters were cleared.
int SentOnLink(Context& context) {
  test::FrontEnd front_end(context.node.Element().RuntimeDirectory());
  const cfm::agent::Reply reply = Ask(context.supervisor, front_end, test::ReadOf("/status"));
  for (const test::StatusRecord& record : test::RecordsIn(reply.node())) {
    const auto sent = record.leaves.find("mep-ccms-sent");
    const auto md = record.leaves.find("md");
    if (sent != record.leaves.end() && md != record.leaves.end() && md->second.front() == "link") {
      return std::stoi(sent->second.front());
    }
  }
  throw std::runtime_error("the counters of the link cannot be read");
}

}  // namespace

// The link's end sends one CCM a second.
Outcome Clear(Context& context) {
  const int before = SentOnLink(context);
  const auto begin = Clock::now();
  const std::string outcome = Perform(context, context.node, Kind::kClear);
  const int after = SentOnLink(context);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(Clock::now() - begin).count();
  const auto most = static_cast<int>(seconds) + 1;
  if (after > most && !context.supervisor.Excuses(context.node)) {
    throw Failure(fmt::format("{}: the link's counter is {} after it was cleared at {}",
                              context.node.Name(), after, before),
                  context.node.LogOf(Part::kDaemon));
  }
  context.Say(fmt::format("from {} to {}", before, after));
  context.report.Count(before > most ? "clear-statistics seen at the link's counter"
                                     : "clear-statistics with a low counter at the link");
  return {};
}

}  // namespace survival
