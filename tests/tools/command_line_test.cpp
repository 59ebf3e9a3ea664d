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

TEST_F(CommandLine, HelpSaysWhatTheTimeoutIsToTheCommand) {
  EXPECT_THAT(RunAsIs({"get", "--help"}).out, HasSubstr("Seconds to wait for an answer (60)\n"));
  EXPECT_THAT(RunAsIs({"status", "--help"}).out, HasSubstr("(2; with --wait 60)\n"));
  EXPECT_THAT(RunAsIs({"watch", "--help"}).out, HasSubstr("Seconds to watch (without limit)\n"));
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
  EXPECT_EQ(RunAsIs({"get", "--nonsense"}).err,
            "cfmctl: not expected here: --nonsense; see cfmctl get --help\n");
  EXPECT_EQ(RunAsIs({"show", "weather"}).status, 2);
  EXPECT_EQ(RunAsIs({"status", "--wait", "soon"}).status, 2);
}

TEST_F(CommandLine, UnexpectedWordsAreListedAsTheyWereTyped) {
  EXPECT_EQ(RunAsIs({"show", "status", "east", "blue", "5", "six", "seven"}).err,
            "cfmctl: not expected here: six seven; see cfmctl show --help\n");
  EXPECT_EQ(RunAsIs({"one", "two"}).err, "cfmctl: not expected here: one two; see cfmctl --help\n");
}

TEST_F(CommandLine, NumbersThatAreNoneAreExplained) {
  EXPECT_EQ(
      RunAsIs({"show", "status", "east", "blue", "five"}).err,
      "cfmctl: MEP: \"five\" is no MEP id, a number from 1 to 8191; see cfmctl show --help\n");
  EXPECT_EQ(RunAsIs({"clear-statistics", "--mep", "8192"}).status, 2);
  for (const char* text : {"nan", "-nan", "inf", "1e9", "-1", "5s", ""}) {
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"get", "--timeout"}, {"verify", "--wait"}, {"status", "--wait"}}) {
      const auto outcome = RunAsIs({words[0], words[1], text});
      EXPECT_EQ(outcome.status, 2) << words[0] << ' ' << text;
    }
  }
  EXPECT_EQ(RunAsIs({"get", "--timeout", "nan"}).err,
            "cfmctl: --timeout: \"nan\" is no number of seconds from 0.001 to 86400; see cfmctl "
            "get --help\n");
  EXPECT_EQ(RunAsIs({"watch", "--count", "0"}).err,
            "cfmctl: --count: \"0\" is no number of lines: at least 1; see cfmctl watch --help\n");
}

TEST_F(CommandLine, ArgumentsThatAreNoUtf8AreNamedAndNotSent) {
  const test::FakeAgent agent(Directory());
  const auto outcome = Run({"set", "md{\xff\xfe}/level", "3"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "cfmctl: argument 4 is no UTF-8: md{\\xff\\xfe}/level\n");
  const auto file = Run({"edit", "--file", "-"}, "create md{a}\nmerge md{a}/level \xff\n");
  EXPECT_EQ(file.status, 2);
  EXPECT_EQ(file.err, "cfmctl: standard input:2: the line is no UTF-8\n");
  EXPECT_THAT(agent.Requests(), testing::IsEmpty());
}

TEST_F(CommandLine, MessagesDoNotSteerTheTerminal) {
  test::FakeAgent agent(Directory());
  agent.on_request = [](const cfm::agent::Request&) { return cfm::agent::Reply(); };
  for (const std::vector<std::string>& words : {std::vector<std::string>{"get", "md{\x1b[31m}"},
                                                {"get", "md{a}/\x1b[31m"},
                                                {"show", "status", "\x1b[31m"},
                                                {"load", "\x1b[31m.xml"},
                                                {"\x1b[31m"},
                                                {"get", "--format", "\x1b[31m"}}) {
    const auto outcome = Run(words);
    EXPECT_NE(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("\\x1b[31m"));
    EXPECT_THAT(outcome.out + outcome.err, testing::Not(HasSubstr("\x1b")));
  }
}

TEST_F(CommandLine, TellsItsVersion) {
  const auto outcome = RunAsIs({"--version"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, testing::MatchesRegex("cfmctl [0-9]+[.][0-9]+[.][0-9]+\n"));
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
