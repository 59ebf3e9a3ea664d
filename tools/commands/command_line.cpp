#include "command_line.h"

#include <fmt/format.h>
#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

#include "command.h"
#include "core/escape.h"
#include "core/utf8.h"
#include "paths.h"
#include "validators.h"

namespace cfmctl {
namespace {

constexpr const char* kExitStatusHelp =
    "Exit status: 0 done; 1 refused, or a difference was found; 2 wrong usage or unreadable file;\n"
    "3 agent or manager not reachable; 4 timed out; 5 shown, but something is missing.\n\n"
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

void AddElementOptions(CLI::App& app, Environment& environment, const char* timeout) {
  app.add_option("--runtime-dir", environment.runtime_dir,
                 "Runtime directory of the element ($CFM_RUNTIME_DIR, or /run/cfm)");
  app.add_option("--timeout", environment.timeout_seconds, timeout)->check(SecondsFrom(0.001));
}

void AddCommands(CLI::App& main, Environment& environment) {
  for (const Command& command : Commands()) {
    CLI::App* const app = main.add_subcommand(std::string(command.name));
    command.add(*app, environment);
    AddElementOptions(*app, environment, command.timeout);
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

// What does not go to the agent as it was typed is not sent at all.
void CheckEncoding(const std::vector<std::string>& arguments) {
  const auto wrong = std::ranges::find_if_not(arguments, IsUtf8);
  if (wrong != arguments.end()) {
    throw Failure(ExitStatus::kUsage, fmt::format("argument {} is no UTF-8: {}",
                                                  wrong - arguments.begin() + 1, *wrong));
  }
}

// What was typed may steer a terminal.
void Print(std::ostream& err, const Failure& failure) {
  fmt::print(err, "cfmctl: {}\n", Printable(failure.what()));
  for (const std::string& detail : failure.Details()) {
    fmt::print(err, "  {}\n", Printable(detail));
  }
}

// CLI11 would list the words in reverse.
std::string UnexpectedWords(const CLI::App& main) {
  return fmt::format("not expected here: {}", fmt::join(main.remaining(true), " "));
}

void PrintUsageError(std::ostream& err, const CLI::App& main, const std::string& what) {
  const auto commands = main.get_subcommands();
  fmt::print(err, "cfmctl: {}; see cfmctl {}--help\n", Printable(what),
             commands.empty() ? "" : commands.front()->get_name() + ' ');
}

}  // namespace

ExitStatus RunCommandLine(const std::vector<std::string>& arguments, std::istream& in,
                          std::ostream& out, std::ostream& err) {
  Environment environment{in, out, err, ipc::RuntimeDirectory().string()};
  CLI::App main("Configures and looks at the Connectivity Fault Management of a network element",
                "cfmctl");
  main.require_subcommand(0, 1);  // one; CLI11 would not name a wrong word itself
  main.footer(kExitStatusHelp);
  main.set_version_flag("--version", "cfmctl " CFMCTL_VERSION);
  AddElementOptions(main, environment,
                    "Seconds to wait for an answer, or to watch; \"cfmctl COMMAND --help\" tells "
                    "the default");
  AddCommands(main, environment);
  try {
    CheckEncoding(arguments);
    Parse(main, arguments);
    if (main.get_subcommands().empty()) {
      throw Failure(ExitStatus::kUsage, "a command is missing; see cfmctl --help");
    }
    return ExitStatus::kOk;
  } catch (const CLI::Success& request) {  // --help, --version
    main.exit(request, out, err);
    return ExitStatus::kOk;
  } catch (const CLI::ExtrasError&) {
    PrintUsageError(err, main, UnexpectedWords(main));
    return ExitStatus::kUsage;
  } catch (const CLI::Error& error) {
    PrintUsageError(err, main, error.what());
    return ExitStatus::kUsage;
  } catch (const Failure& failure) {
    Print(err, failure);
    return failure.Status();
  }
}

}  // namespace cfmctl
