#include <fmt/ostream.h>

#include <memory>

#include "choices.h"
#include "command.h"
#include "completion_scripts.h"

namespace cfmctl {

void AddCompletion(CLI::App& app, Environment& environment) {
  app.description("Print the script with which a shell completes cfmctl's words");
  app.footer(
      "Paths are completed with what is configured, by asking the agent.\n\n"
      "Examples:\n"
      "  source <(cfmctl completion bash)\n"
      "  cfmctl completion zsh > ~/.zfunc/_cfmctl");
  const auto shell = std::make_shared<std::string>();
  app.add_option("SHELL", *shell, "bash or zsh")->required()->check(OneOf(kShells));
  app.callback([shell, &environment] {
    environment.out << (*shell == "bash" ? kBashCompletion : kZshCompletion);
  });
}

}  // namespace cfmctl
