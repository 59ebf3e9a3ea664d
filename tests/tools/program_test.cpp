// cfmctl as a process, and what bash makes of its completion script.
#include "command_fixture.h"
#include "fakes.h"
#include "process.h"
#include "trees.h"

namespace cfmctl {
namespace {

using testing::HasSubstr;

class Program : public test::CommandTest {};

TEST_F(Program, EndsWithTheExitStatusOfItsCommand) {
  const std::map<std::string, std::string> element = {{"CFM_RUNTIME_DIR", Directory()}};
  EXPECT_EQ(test::Run({CFMCTL, "--help"}, element).status, 0);
  EXPECT_EQ(test::Run({CFMCTL, "frobnicate"}, element).status, 2);
  const auto unreachable = test::Run({CFMCTL, "get"}, element);
  EXPECT_EQ(unreachable.status, 3);
  EXPECT_THAT(unreachable.error, HasSubstr(Directory() / "agentd.sock"));
  EXPECT_EQ(test::Run({CFMCTL, "status", "--wait", "0.01"}, element).status, 4);
}

TEST_F(Program, AnAgentThatDiesDoesNotKillIt) {
  test::FakeAgent agent(Directory());
  agent.on_request = [](const cfm::agent::Request&) { return std::nullopt; };
  const auto outcome = test::Run({CFMCTL, "edit", "--file", "-"},
                                 {{"CFM_RUNTIME_DIR", Directory()}}, "create md{a}\n");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.error, HasSubstr("is unknown"));
}

TEST_F(Program, TheBashScriptIsBash) {
  const std::string script = WriteFile("cfmctl.bash", RunAsIs({"completion", "bash"}).out);
  const auto check = test::Run({"bash", "-n", script});
  EXPECT_EQ(check.status, 0) << check.error;
}

TEST_F(Program, BashCompletesWithTheScript) {
  test::FakeAgent agent(Directory());
  agent.on_request = [](const cfm::agent::Request&) {
    cfm::agent::Reply reply;
    *reply.mutable_node() = test::ToNode(test::Root(test::Cfm()));
    return reply;
  };
  const std::string script = WriteFile("cfmctl.bash", RunAsIs({"completion", "bash"}).out);
  const std::string program =
      "source " + script +
      "; COMP_LINE='cfmctl get md{e'; COMP_POINT=15; COMP_WORDS=(cfmctl get 'md{e'); COMP_CWORD=2"
      "; _cfmctl " CFMCTL " 'md{e' get; printf '<%s>' \"${COMPREPLY[@]}\"";
  const auto outcome =
      test::Run({"bash", "--norc", "-c", program}, {{"CFM_RUNTIME_DIR", Directory()}});
  EXPECT_EQ(outcome.output, "<md{east}>") << outcome.error;
}

}  // namespace
}  // namespace cfmctl
