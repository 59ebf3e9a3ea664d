#include <CLI/CLI.hpp>
#include <memory>

#include "command.h"
#include "path_argument.h"
#include "submission.h"

namespace cfmctl {
namespace {

struct Options {
  std::vector<std::string> paths;
  bool candidate = false;
};

}  // namespace

void AddDelete(CLI::App& app, Environment& environment) {
  app.description("Delete entries and leaves, with all below them, in one commit");
  app.footer(std::string(kPathHelp) +
             "\n"
             "It is an error to delete what is not there; \"cfmctl edit remove\" does not mind.\n\n"
             "Examples:\n"
             "  cfmctl delete 'md{east}/ma{blue}/mep{5}' 'md{east}/ma{red}'\n"
             "  cfmctl delete 'md{east}/ma{blue}/vlan-list{20}'\n"
             "  cfmctl delete --candidate 'md{east}'");
  const auto options = std::make_shared<Options>();
  app.add_option("PATH", options->paths, "What to delete")->required();
  app.add_flag("--candidate", options->candidate, "Change the candidate and commit nothing");
  app.callback([options, &environment] {
    Submit(environment, EditArguments(options->paths, EditKind::kDelete), options->candidate);
  });
}

}  // namespace cfmctl
