#include <CLI/CLI.hpp>
#include <memory>

#include "command.h"
#include "core/failure.h"
#include "path_argument.h"
#include "submission.h"

namespace cfmctl {

void AddSet(CLI::App& app, Environment& environment) {
  app.description("Set leaves and create entries, in one commit");
  app.footer(std::string(kPathHelp) +
             "\n"
             "A leaf or leaf-list is followed by its VALUE, anything else is created.\n"
             "Several values of a leaf-list are joined by commas.\n\n"
             "Examples:\n"
             "  cfmctl set 'md{east}/level' 3\n"
             "  cfmctl set 'md{east}/level' 3 'md{east}/ma{blue}/ccm-interval' 1s \\\n"
             "    'md{east}/ma{blue}/primary-vlan-id' 10 'md{east}/ma{blue}/vlan-list' 10,20\n"
             "  cfmctl set 'md{east}/ma{blue}/mep{5}/continuity-check/cci-enabled'\n"
             "  cfmctl set --candidate \"/config/oam/cfm/md[id='east']/level\" 4");
  app.allow_extras();  // the words: their order is their meaning
  const auto candidate = std::make_shared<bool>(false);
  app.add_flag("--candidate", *candidate, "Change the candidate and commit nothing");
  app.callback([candidate, &app, &environment] {
    const std::vector<Edit> edits = EditArguments(app.remaining(), EditKind::kMerge);
    if (edits.empty()) {
      throw Failure(ExitStatus::kUsage, "set: a PATH is missing; see cfmctl set --help");
    }
    Submit(environment, edits, *candidate);
  });
}

}  // namespace cfmctl
