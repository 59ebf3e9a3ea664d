#include <fmt/ostream.h>

#include <memory>

#include "choices.h"
#include "command.h"
#include "replies.h"
#include "submission.h"

namespace cfmctl {
namespace {

struct Options {
  std::string file;
  std::string format;
  bool replace = false;
};

void ValidateFile(const Environment& environment, const Options& options) {
  cfm::agent::Edit edit;
  edit.set_target(cfm::agent::Edit::TEST_ONLY);
  *edit.add_operations() =
      DocumentOperation(environment, options.file, options.format, options.replace);
  Submit(environment, edit);
}

void ValidateCandidate(const Environment& environment) {
  cfm::agent::Request request;
  request.mutable_validate_candidate();
  CheckReply(environment, environment.ConnectAgent().Ask(request), "the candidate is not valid");
  fmt::print(environment.out, "the candidate is valid\n");
}

}  // namespace

void AddValidate(CLI::App& app, Environment& environment) {
  app.description("Validate a document against the running configuration, or the candidate");
  app.footer(
      "Nothing is changed.\n\n"
      "Examples:\n"
      "  cfmctl validate east.xml             would \"cfmctl load east.xml\" succeed?\n"
      "  cfmctl validate --replace all.json   would \"cfmctl load --replace\" succeed?\n"
      "  cfmctl validate                      would \"cfmctl commit\" succeed?");
  const auto options = std::make_shared<Options>();
  auto* const file = app.add_option(
      "FILE", options->file, "XML or JSON document; - is standard input; none: the candidate");
  app.add_flag("--replace", options->replace, "As if FILE replaced the whole configuration")
      ->needs(file);
  app.add_option("--format", options->format, "Format of FILE; without it, it is guessed")
      ->check(OneOf(kDocumentFormats))
      ->needs(file);
  app.callback([options, &environment] {
    if (options->file.empty()) {
      ValidateCandidate(environment);
    } else {
      ValidateFile(environment, *options);
    }
  });
}

}  // namespace cfmctl
