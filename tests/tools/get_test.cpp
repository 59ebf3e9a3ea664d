// get, and show manager.
#include "command_fixture.h"
#include "core/expected_hierarchy.h"
#include "fakes.h"
#include "trees.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;
using testing::HasSubstr;

class Get : public test::CommandTest {
 protected:
  void AnswerTree(const TreeNode& tree) {
    agent_.on_request = [node = test::ToNode(tree)](const agent::Request&) {
      agent::Reply reply;
      *reply.mutable_node() = node;
      return reply;
    };
  }
  void AnswerDocument(const std::string& document) {
    agent_.on_request = [document](const agent::Request&) {
      agent::Reply reply;
      reply.set_document(document);
      return reply;
    };
  }
  agent::Get LastGet() const { return agent_.Requests().back().get(); }

  test::FakeAgent agent_{Directory()};
};

TEST_F(Get, ShowsTablesOfEverythingThatIsRunning) {
  AnswerTree(test::Root(test::Cfm()));
  const auto outcome = Run({"get"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("MD    LEVEL\neast  3\nwest  5\n"));
  EXPECT_EQ(LastGet().path(), "");
  EXPECT_EQ(LastGet().datastore(), agent::DATASTORE_RUNNING);
  EXPECT_EQ(LastGet().format(), agent::FORMAT_TREE);
  EXPECT_FALSE(LastGet().with_defaults());
}

TEST_F(Get, AsksForTheEntryAndPicksTheLeafItself) {
  AnswerTree(test::MaBlue());
  const auto outcome = Run({"get", "md{east}/ma{blue}/ccm-interval", "--candidate", "--defaults"});
  EXPECT_EQ(outcome.out, "NODE          VALUE\nccm-interval  10s\n") << outcome.err;
  EXPECT_EQ(LastGet().path(), "/config/oam/cfm/md[id='east']/ma[id='blue']");
  EXPECT_EQ(LastGet().datastore(), agent::DATASTORE_CANDIDATE);
  EXPECT_TRUE(LastGet().with_defaults());
}

TEST_F(Get, PassesDocumentsOnAsTheyAre) {
  AnswerDocument("<config/>");
  EXPECT_EQ(Run({"get", "md{east}/level", "--format", "xml"}).out, "<config/>\n");
  EXPECT_EQ(LastGet().path(), "/config/oam/cfm/md[id='east']/level");
  EXPECT_EQ(LastGet().format(), agent::FORMAT_XML);
  AnswerDocument("{}\n");
  EXPECT_EQ(Run({"get", "--format", "json"}).out, "{}\n");
  EXPECT_EQ(LastGet().format(), agent::FORMAT_JSON);
}

TEST_F(Get, AnEmptyConfigurationSaysSo) {
  AnswerTree(test::Container("", {}));
  const auto outcome = Run({"get"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "the configuration is empty\n");
}

TEST_F(Get, APathAtWhichNothingIsIsRefused) {
  AnswerTree(test::Container("md", {}));
  const auto table = Run({"get", "md{none}"});
  EXPECT_EQ(table.status, 1);
  EXPECT_EQ(table.err, "cfmctl: nothing is configured at /config/oam/cfm/md[id='none']\n");
  AnswerDocument("{}\n");
  EXPECT_EQ(Run({"get", "md{none}", "--format", "json"}).status, 1);
}

TEST_F(Get, AFormatThatDoesNotExistIsWrongUsage) {
  EXPECT_EQ(Run({"get", "--format", "yaml"}).status, 2);
  EXPECT_TRUE(agent_.Requests().empty());
}

class ShowManager : public test::CommandTest {};

cfm::Hierarchy Sample() {
  return ExpectedHierarchy(test::Cfm(), [](const std::string&) { return 101U; });
}

TEST_F(ShowManager, ListsEveryFieldWithItsMeaningAndWarnsOfWhatCannotBeUsed) {
  const test::FakeManager manager(Directory(), Sample(), {"MEP 6 has no interface"});
  const auto outcome = Run({"show", "manager"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("ccm-interval                  5 (10s)"));
  EXPECT_THAT(outcome.out, HasSubstr("direction                     2 (up)"));
  EXPECT_EQ(outcome.err, "cfmctl: warning: MEP 6 has no interface\n");
}

TEST_F(ShowManager, SpeaksJsonAndXml) {
  const test::FakeManager manager(Directory(), Sample());
  EXPECT_THAT(Run({"show", "manager", "--format", "json"}).out,
              HasSubstr("\"vlan-list\": [20, 10, 30]"));
  EXPECT_THAT(Run({"show", "manager", "--format", "xml"}).out,
              HasSubstr("<ccm-interval>5</ccm-interval>"));
}

TEST_F(ShowManager, AnEmptyHierarchySaysSo) {
  const test::FakeManager manager(Directory(), {});
  EXPECT_EQ(Run({"show", "manager"}).out, "the CFM manager holds an empty configuration\n");
}

TEST_F(ShowManager, AManagerThatIsNotThereIsNotReachable) {
  const auto outcome = Run({"show", "manager"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("cannot reach the CFM manager at " +
                                     (Directory() / "cfm-managerd.sock").string() +
                                     ": No such file or directory; is cfm-managerd running?"));
}

}  // namespace
}  // namespace cfmctl
