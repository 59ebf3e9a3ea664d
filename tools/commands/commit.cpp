#include <CLI/CLI.hpp>

#include "command.h"
#include "replies.h"

namespace cfmctl {
namespace {

void CommitCandidate(const Environment& environment) {
  cfm::agent::Request request;
  request.mutable_commit_candidate();
  const cfm::agent::Reply reply = environment.ConnectAgent().Commit(request);
  CheckReply(environment, reply, kCommitRefused);
  ReportCommit(environment, reply);
}

}  // namespace

void AddCommit(CLI::App& app, Environment& environment) {
  app.description("Commit the candidate");
  app.footer(
      "A candidate that is refused stays as it is, to be mended or discarded.\n\n"
      "Examples:\n"
      "  cfmctl set --candidate 'md{east}/level' 4 && cfmctl diff && cfmctl commit");
  app.callback([&environment] { CommitCandidate(environment); });
}

}  // namespace cfmctl
