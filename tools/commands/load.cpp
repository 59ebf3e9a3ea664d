#include <memory>

#include "choices.h"
#include "command.h"
#include "submission.h"

namespace cfmctl {
namespace {

struct Options {
  std::string file;
  std::string format;
  bool merge = false;  // without --replace anyway
  bool replace = false;
  bool candidate = false;
};

void Load(const Environment& environment, const Options& options) {
  cfm::agent::Edit edit;
  edit.set_target(options.candidate ? cfm::agent::Edit::CANDIDATE : cfm::agent::Edit::COMMIT);
  *edit.add_operations() =
      DocumentOperation(environment, options.file, options.format, options.replace);
  Submit(environment, edit);
}

}  // namespace

void AddLoad(CLI::App& app, Environment& environment) {
  app.description("Load a configuration document and commit it");
  app.footer(
      "Examples:\n"
      "  cfmctl load east.xml                 merge into what is configured\n"
      "  cfmctl load --replace all.json       replace the whole configuration\n"
      "  cfmctl load --candidate - < new.xml  into the candidate, not committed yet");
  const auto options = std::make_shared<Options>();
  app.add_option("FILE", options->file, "XML or JSON document; - is standard input")->required();
  auto* const merge =
      app.add_flag("--merge", options->merge, "Merge into what is configured (the default)");
  app.add_flag("--replace", options->replace, "Replace the whole configuration")->excludes(merge);
  app.add_flag("--candidate", options->candidate, "Change the candidate and commit nothing");
  app.add_option("--format", options->format, "Format of FILE; without it, it is guessed")
      ->check(OneOf(kDocumentFormats));
  app.callback([options, &environment] { Load(environment, *options); });
}

}  // namespace cfmctl
