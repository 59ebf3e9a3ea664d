#include "command_line.h"

#include <fmt/format.h>
#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

#include "command.h"
#include "paths.h"

namespace cfmctl {
namespace {

constexpr const char* kExitStatusHelp =
    "Exit status: 0 done; 1 refused, or a difference was found; 2 wrong usage or unreadable file;\n"
    "3 agent or manager not reachable; 4 timed out.\n\n"
    "Examples:\n"
    "  cfmctl load --replace all.xml && cfmctl verify\n"
    "  cfmctl set 'md{east}/level' 3\n"
    "  cfmctl get --defaults\n"
    "\"cfmctl COMMAND --help\" explains a command; cfmctl(1) explains all.";

// CLI11 does not know of words whose order is their meaning, so the usage
// line comes from the table of commands.
class CommandFormatter : public CLI::Formatter {
 public:
  explicit CommandFormatter(const Command& command) : command_(command) {}

  std::string make_usage(const CLI::App*, std::string) const override {
    return fmt::format("Usage: cfmctl {} [OPTIONS] {}\n", command_.name, command_.words);
  }

 private:
  const Command& command_;
};

void AddElementOptions(CLI::App& app, Environment& environment) {
  app.add_option("--runtime-dir", environment.runtime_dir,
                 "Runtime directory of the element ($CFM_RUNTIME_DIR, or /run/cfm)");
  app.add_option("--timeout", environment.timeout_seconds, "Seconds to wait for an answer (60)")
      ->check(CLI::Range(0.001, 86400.0));
}

void AddCommands(CLI::App& main, Environment& environment) {
  for (const Command& command : Commands()) {
    CLI::App* const app = main.add_subcommand(std::string(command.name));
    command.add(*app, environment);
    AddElementOptions(*app, environment);
    app->formatter(std::make_shared<CommandFormatter>(command));
    if (IsHidden(command)) {
      app->group("");
    }
  }
}

void Parse(CLI::App& main, std::vector<std::string> arguments) {
  std::ranges::reverse(arguments);  // CLI11 takes them from the end
  main.parse(arguments);
}

void Print(std::ostream& err, const Failure& failure) {
  fmt::print(err, "cfmctl: {}\n", failure.what());
  for (const std::string& detail : failure.Details()) {
    fmt::print(err, "  {}\n", detail);
  }
}

}  // namespace

ExitStatus RunCommandLine(const std::vector<std::string>& arguments, std::istream& in,
                          std::ostream& out, std::ostream& err) {
  Environment environment{in, out, err, ipc::RuntimeDirectory().string()};
  CLI::App main("Configures and looks at the Connectivity Fault Management of a network element",
                "cfmctl");
  main.require_subcommand(0, 1);  // one; CLI11 would not name a wrong word itself
  main.footer(kExitStatusHelp);
  AddElementOptions(main, environment);
  AddCommands(main, environment);
  try {
    Parse(main, arguments);
    if (main.get_subcommands().empty()) {
      throw Failure(ExitStatus::kUsage, "a command is missing; see cfmctl --help");
    }
    return ExitStatus::kOk;
  } catch (const CLI::CallForHelp& request) {
    main.exit(request, out, err);
    return ExitStatus::kOk;
  } catch (const CLI::Error& error) {
    fmt::print(err, "cfmctl: {}; see cfmctl --help\n", error.what());
    return ExitStatus::kUsage;
  } catch (const Failure& failure) {
    Print(err, failure);
    return failure.Status();
  }
}

}  // namespace cfmctl
