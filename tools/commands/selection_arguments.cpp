#include "selection_arguments.h"

#include "validators.h"

namespace cfmctl {
void AddSelectionWords(CLI::App& app, MepSelection& selection) {
  app.add_option("MD", selection.md, "Only this maintenance domain");
  app.add_option("MA", selection.ma, "Only this maintenance association of the MD");
  app.add_option("MEP", selection.mep, "Only this MEP of the MA, local or remote")->check(MepId());
}

void AddSelectionOptions(CLI::App& app, MepSelection& selection) {
  app.add_option("--md", selection.md, "Only this maintenance domain");
  app.add_option("--ma", selection.ma, "Only maintenance associations of this name");
  app.add_option("--mep", selection.mep, "Only MEPs with this id, local or remote")->check(MepId());
}

}  // namespace cfmctl
