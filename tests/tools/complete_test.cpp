#include "command_fixture.h"
#include "fakes.h"
#include "trees.h"

namespace cfmctl {
namespace {

using testing::HasSubstr;

class Complete : public test::CommandTest {
 protected:
  // An agent with the sample configuration and an MD whose name has a blank.
  void StartAgent() {
    agent_.emplace(Directory());
    agent_->on_request = [](const cfm::agent::Request&) {
      TreeNode cfm = test::Cfm();
      cfm.children.push_back(test::Entry("md", {test::Leaf("id", "my domain")}));
      cfm::agent::Reply reply;
      *reply.mutable_node() = test::ToNode(test::Root(cfm));
      return reply;
    };
  }

  std::string Completed(const std::string& line, const std::string& replaced) const {
    const auto outcome = Run({"__complete", "--", line, replaced});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
  }

  std::optional<test::FakeAgent> agent_;
};

TEST_F(Complete, OffersCommandsOptionsAndChoices) {
  EXPECT_EQ(Completed("cfmctl de", "de"), "delete \n");
  EXPECT_EQ(Completed("cfmctl get --cand", "--cand"), "--candidate \n");
  EXPECT_EQ(Completed("cfmctl get --format ", ""), "table \nxml \njson \n");
  EXPECT_EQ(Completed("cfmctl load --format j", "j"), "json \n");
  EXPECT_EQ(Completed("cfmctl show ", ""), "manager \nstatus \nstatistics \n");
  EXPECT_EQ(Completed("cfmctl completion ", ""), "bash \nzsh \n");
  EXPECT_EQ(Completed("cfmctl status --for m", "m"), "manager \n");
  EXPECT_EQ(Completed("cfmctl load ", ""), ":files\n");
  EXPECT_EQ(Completed("cfmctl edit --file x", "x"), ":files\n");
}

TEST_F(Complete, OffersWhatIsConfigured) {
  StartAgent();
  EXPECT_EQ(Completed("cfmctl get md{e", "md{e"), "md{east}\n");
  EXPECT_EQ(Completed("cfmctl delete md{east}/ma{blue}/mep{", "md{east}/ma{blue}/mep{"),
            "md{east}/ma{blue}/mep{5}\nmd{east}/ma{blue}/mep{6}\n");
}

TEST_F(Complete, OffersTheNamesOfMepsWordByWord) {
  StartAgent();
  EXPECT_EQ(Completed("cfmctl show status ", ""), "east \nwest \nmy\\ domain \n");
  EXPECT_EQ(Completed("cfmctl show status east ", ""), "blue \n");
  EXPECT_EQ(Completed("cfmctl show status west ", ""), "");
  EXPECT_EQ(Completed("cfmctl watch east blue ", ""), "5 \n6 \n7 \n");
  EXPECT_EQ(Completed("cfmctl watch east blue 5 ", ""), "");
}

TEST_F(Complete, OffersTheNamesOfMepsAsOptions) {
  StartAgent();
  EXPECT_EQ(Completed("cfmctl clear-statistics --md e", "e"), "east \n");
  EXPECT_EQ(Completed("cfmctl clear-statistics --ma ", ""), "blue \n");
  EXPECT_EQ(Completed("cfmctl clear-statistics --md west --ma ", ""), "");
  EXPECT_EQ(Completed("cfmctl clear-statistics --md east --mep ", ""), "5 \n6 \n7 \n");
}

TEST_F(Complete, OffersConditions) {
  EXPECT_EQ(Completed("cfmctl watch --until state=rmep-f", "state=rmep-f"), "state=rmep-failed \n");
  EXPECT_EQ(Completed("cfmctl watch --until defect=", "defect="),
            "defect=A \ndefect=S \ndefect=R \ndefect=I \ndefect=X \n");
}

TEST_F(Complete, OffersNodesOfTheModelWithoutAnAgent) {
  EXPECT_EQ(Completed("cfmctl get md{new}/l", "md{new}/l"), "md{new}/level \n");
  EXPECT_EQ(Completed("cfmctl get md{e", "md{e"), "");
}

TEST_F(Complete, OffersValuesWhereAPathAwaitsOne) {
  EXPECT_EQ(Completed("cfmctl set md{e}/ma{b}/ccm-interval 10", "10"), "10s \n10min \n");
  EXPECT_EQ(Completed("cfmctl edit create md{e}/ma{b}/mep{1}/direction ", ""), "up \ndown \n");
  EXPECT_EQ(Completed("cfmctl edit delete md{e}/ma{b}/mep{1}/direction cr", "cr"), "create \n");
}

TEST_F(Complete, QuotesWhatTheShellWouldTakeForItself) {
  StartAgent();
  EXPECT_EQ(Completed("cfmctl get md{my", "md{my"), "md{my\\ domain}\n");
  EXPECT_EQ(Completed("cfmctl get md{my\\ d", "md{my\\ d"), "md{my\\ domain}\n");
  EXPECT_EQ(Completed("cfmctl get 'md{my d", "md{my d"), "md{my domain}\n");
}

TEST_F(Complete, PrintsOnlyThePartThatTheShellReplaces) {
  EXPECT_EQ(Completed("cfmctl get /element-cfm:config/oam/cfm/md{a:b}/l", "b}/l"), "b}/level \n");
}

TEST_F(Complete, IsSilentAboutNonsense) {
  EXPECT_EQ(Completed("cfmctl frobnicate ", ""),
            "load \nget \nset \ndelete \nedit \nvalidate \n"
            "commit \ndiscard \ndiff \nstatus \nshow \nwatch \nclear-statistics \n"
            "verify \ncompletion \n");
  EXPECT_EQ(Completed("cfmctl get mx{", "mx{"), "");
  EXPECT_EQ(Completed("cfmctl commit ", ""), "");
}

TEST_F(Complete, TheZshScriptNamesItsCommand) {
  EXPECT_THAT(RunAsIs({"completion", "zsh"}).out, testing::StartsWith("#compdef cfmctl\n"));
}

}  // namespace
}  // namespace cfmctl
