#include "submission.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include "core/document_format.h"
#include "core/failure.h"
#include "input_file.h"
#include "replies.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;

agent::Format ToFormat(const std::string& file, const std::string& wanted,
                       const std::string& document) {
  if (!wanted.empty()) {
    return wanted == "xml" ? agent::FORMAT_XML : agent::FORMAT_JSON;
  }
  const auto guess = GuessFormat(file, document);
  if (!guess) {
    throw Failure(ExitStatus::kUsage,
                  fmt::format("{} is neither XML nor JSON by its content or name; --format xml or "
                              "--format json says which",
                              InputName(file)));
  }
  return *guess == DocumentFormat::kXml ? agent::FORMAT_XML : agent::FORMAT_JSON;
}

agent::EditOperation::Operation ToOperation(EditKind kind) {
  switch (kind) {
    case EditKind::kReplace:
      return agent::EditOperation::REPLACE;
    case EditKind::kCreate:
      return agent::EditOperation::CREATE;
    case EditKind::kDelete:
      return agent::EditOperation::DELETE;
    case EditKind::kRemove:
      return agent::EditOperation::REMOVE;
    case EditKind::kMerge:
      break;
  }
  return agent::EditOperation::MERGE;
}

// What an operator reads about each target.
struct Wording {
  std::string success;
  std::string refusal;
};

Wording ToWording(agent::Edit::Target target) {
  switch (target) {
    case agent::Edit::CANDIDATE:
      return {"the candidate is changed: \"cfmctl diff\" shows it, \"cfmctl commit\" commits it\n",
              "the edit of the candidate was refused, nothing was changed"};
    case agent::Edit::TEST_ONLY:
      return {"valid; nothing was changed\n", "not valid; nothing was changed"};
    default:
      return {"", kCommitRefused};
  }
}

}  // namespace

agent::EditOperation DocumentOperation(const Environment& environment, const std::string& file,
                                       const std::string& format, bool replace) {
  const std::string document = ReadInput(environment, file);
  agent::EditOperation operation;
  operation.set_operation(replace ? agent::EditOperation::REPLACE : agent::EditOperation::MERGE);
  operation.set_format(ToFormat(file, format, document));
  operation.set_document(document);
  return operation;
}

void Submit(const Environment& environment, const agent::Edit& edit) {
  agent::Request request;
  *request.mutable_edit() = edit;
  AgentClient client = environment.ConnectAgent();
  const bool commits = edit.target() == agent::Edit::COMMIT;
  const agent::Reply reply = commits ? client.Commit(request) : client.Ask(request);
  const Wording wording = ToWording(edit.target());
  CheckReply(environment, reply, wording.refusal);
  if (commits) {
    ReportCommit(environment, reply);
  } else {
    fmt::print(environment.out, "{}", wording.success);
  }
}

void Submit(const Environment& environment, const std::vector<Edit>& edits, bool candidate) {
  agent::Edit message;
  message.set_target(candidate ? agent::Edit::CANDIDATE : agent::Edit::COMMIT);
  for (const Edit& edit : edits) {
    agent::EditOperation* const operation = message.add_operations();
    operation->set_operation(ToOperation(edit.kind));
    operation->set_path(edit.path);
    if (edit.value) {
      operation->set_value(*edit.value);
    }
  }
  Submit(environment, message);
}

}  // namespace cfmctl
