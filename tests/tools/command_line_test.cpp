#include <algorithm>

#include "command_fixture.h"
#include "commands/command.h"
#include "fakes.h"

namespace cfmctl {
namespace {

using testing::HasSubstr;

class CommandLine : public test::CommandTest {};

TEST_F(CommandLine, EveryCommandExplainsItselfWithExamples) {
  for (const Command& command : Commands()) {
    const std::string name(command.name);
    const auto outcome = RunAsIs({name, "--help"});
    EXPECT_EQ(outcome.status, 0) << name;
    EXPECT_THAT(outcome.out, HasSubstr("Usage: cfmctl " + name + " [OPTIONS]")) << name;
    EXPECT_THAT(outcome.out, HasSubstr("Examples:\n  ")) << name;
    EXPECT_THAT(outcome.out, HasSubstr("cfmctl " + name)) << name;
    EXPECT_THAT(outcome.out, HasSubstr("--runtime-dir")) << name;
    EXPECT_EQ(outcome.err, "") << name;
  }
}

TEST_F(CommandLine, HelpListsTheCommandsThatAreForPeople) {
  const auto outcome = RunAsIs({"--help"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("Exit status:"));
  EXPECT_THAT(outcome.out, HasSubstr("Examples:\n  cfmctl"));
  for (const Command& command : Commands()) {
    const bool listed = outcome.out.find("\n  " + std::string(command.name)) != std::string::npos;
    EXPECT_EQ(listed, !IsHidden(command)) << command.name;
  }
}

TEST_F(CommandLine, WrongUsageIsOneLineThatNamesTheWord) {
  const auto no_command = RunAsIs({});
  EXPECT_EQ(no_command.status, 2);
  EXPECT_EQ(no_command.err, "cfmctl: a command is missing; see cfmctl --help\n");
  const auto wrong = RunAsIs({"frobnicate"});
  EXPECT_EQ(wrong.status, 2);
  EXPECT_THAT(wrong.err, HasSubstr("frobnicate"));
  EXPECT_EQ(std::ranges::count(wrong.err, '\n'), 1);
  EXPECT_EQ(RunAsIs({"get", "--nonsense"}).status, 2);
  EXPECT_EQ(RunAsIs({"show", "weather"}).status, 2);
  EXPECT_EQ(RunAsIs({"status", "--wait", "soon"}).status, 2);
}

TEST_F(CommandLine, AnAgentThatIsNotThereIsNamedWithCauseAndRemedy) {
  const auto outcome = Run({"get"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.err, "cfmctl: cannot reach the agent at " +
                             (Directory() / "agentd.sock").string() +
                             ": No such file or directory; is agentd running? (CFM_RUNTIME_DIR or "
                             "--runtime-dir selects another element)\n");
}

TEST_F(CommandLine, TheElementIsSelectedBeforeOrBehindTheCommand) {
  const test::FakeAgent agent(Directory());
  EXPECT_EQ(RunAsIs({"--runtime-dir", Directory(), "diff"}).status, 0);
  EXPECT_EQ(RunAsIs({"diff", "--runtime-dir", Directory()}).status, 0);
}

TEST_F(CommandLine, AnAgentThatDoesNotWelcomeUsSaysWhy) {
  test::FakeAgent agent(Directory());
  agent.welcome_error = "user 1000 may not configure";
  const auto outcome = Run({"get"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("refused the connection: user 1000 may not configure"));
}

}  // namespace
}  // namespace cfmctl
