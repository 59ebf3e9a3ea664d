// Edits: what the operations mean, and what is refused.
#include "edit.h"

#include "fixture.h"
#include "instance_path.h"
#include "render.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class EditTest : public DatastoreTest {
 protected:
  void SetUp() override { Commit({Document(EastDocument())}); }

  std::string Shown(const std::string& path = "", bool with_defaults = false) {
    pb::Get get;
    get.set_path(path);
    get.set_format(pb::FORMAT_XML);
    get.set_with_defaults(with_defaults);
    pb::Reply reply;
    EXPECT_THAT(Texts(Render(TheModel(), datastore_.Running()->Top(), get, reply)), IsEmpty());
    return reply.document();
  }
};

TEST_F(EditTest, MergeSetsALeafAndLeavesTheRest) {
  Commit({SetLeaf(std::string(kEast) + "/level", "5")});
  EXPECT_THAT(Shown(), AllOf(HasSubstr("<level>5</level>"), HasSubstr("<id>blue</id>")));
}

TEST_F(EditTest, NumbersAreKeptInTheirCanonicalForm) {
  Commit({SetLeaf(std::string(kEast) + "/level", "+05")});
  EXPECT_THAT(Shown(), HasSubstr("<level>5</level>"));
}

TEST_F(EditTest, MergeMakesWhatTheLeafStandsIn) {
  Commit({Operation(pb::EditOperation::DELETE, kCheck5),
          SetLeaf(std::string(kCheck5) + "/fault-alarm-time", "3000")});
  EXPECT_THAT(Shown(), HasSubstr("<fault-alarm-time>3000</fault-alarm-time>"));
}

TEST_F(EditTest, CreateOfWhatExistsIsRefused) {
  EXPECT_THAT(Texts(TryCommit({Operation(pb::EditOperation::CREATE, kMep5)})),
              ElementsAre(std::string(kMep5) + ": it exists already [data-exists]"));
}

TEST_F(EditTest, CreateOfALeafThatHasOnlyItsDefaultIsAllowed) {
  pb::EditOperation create =
      Operation(pb::EditOperation::CREATE, std::string(kCheck5) + "/fault-alarm-time");
  create.set_value("3000");
  Commit({create});
}

TEST_F(EditTest, CreateOfADocumentIsRefusedForEachEntryThatExists) {
  EXPECT_THAT(Texts(TryCommit({Document(EastDocument(), pb::EditOperation::CREATE)})),
              ElementsAre(std::string(kEast) + ": it exists already [data-exists]"));
  Commit({Document(Replaced(EastDocument(), "east", "west"), pb::EditOperation::CREATE)});
}

TEST_F(EditTest, DeleteOfNothingIsRefusedAndRemoveIsNot) {
  const std::string path = std::string(kBlue) + "/mep[id='6']";
  EXPECT_THAT(Texts(TryCommit({Operation(pb::EditOperation::DELETE, path)})),
              ElementsAre(path + ": there is nothing to delete [data-missing]"));
  Commit({Operation(pb::EditOperation::REMOVE, path)});
}

TEST_F(EditTest, DeleteOfAnImplicitDefaultIsRefused) {
  EXPECT_THAT(Texts(TryCommit({Operation(pb::EditOperation::DELETE,
                                         std::string(kCheck5) + "/fault-alarm-time")})),
              ElementsAre(HasSubstr("[data-missing]")));
}

TEST_F(EditTest, DeleteTakesTheWholeSubtree) {
  Commit({Operation(pb::EditOperation::DELETE, kEast)});
  EXPECT_EQ(Shown().find("<md"), std::string::npos);
}

TEST_F(EditTest, DeletedLeafWithDefaultShowsTheDefaultAgain) {
  const std::string leaf = std::string(kCheck5) + "/fault-alarm-time";
  Commit({SetLeaf(leaf, "3000")});
  Commit({Operation(pb::EditOperation::DELETE, leaf)});
  EXPECT_THAT(Shown(), Not(HasSubstr("fault-alarm-time")));
  EXPECT_THAT(Shown("", true), HasSubstr("<fault-alarm-time>2500</fault-alarm-time>"));
}

TEST_F(EditTest, ReplaceOfAnEntryKeepsNothingOfTheOld) {
  pb::EditOperation replace =
      Document(Replaced(EastDocument(), R"("continuity-check":{"cci-enabled":[null]})",
                        R"("primary-vlan-id":20)"),
               pb::EditOperation::REPLACE);
  replace.set_path(kMep5);
  Commit({replace});
  EXPECT_THAT(Shown(kMep5), AllOf(HasSubstr("<primary-vlan-id>20</primary-vlan-id>"),
                                  Not(HasSubstr("continuity-check"))));
  EXPECT_THAT(Shown(), HasSubstr("<remote-meps>100</remote-meps>"));
}

TEST_F(EditTest, ReplaceWithoutPathReplacesEverything) {
  Commit({Document(Replaced(EastDocument(), "east", "west"), pb::EditOperation::REPLACE)});
  EXPECT_THAT(Shown(), AllOf(HasSubstr("<id>west</id>"), Not(HasSubstr("<id>east</id>"))));
}

TEST_F(EditTest, ReplaceOfAPathThatTheDocumentLacksIsRefused) {
  pb::EditOperation replace = Document(EastDocument(), pb::EditOperation::REPLACE);
  replace.set_path(std::string(kBlue) + "/mep[id='6']");
  EXPECT_THAT(Texts(TryCommit({replace})), ElementsAre(HasSubstr("has nothing at the path")));
}

TEST_F(EditTest, LeafListElementsComeAndGoByKeyOrByValue) {
  const std::string list = std::string(kBlue) + "/remote-meps";
  Commit({Operation(pb::EditOperation::MERGE, list + "[.='7']"), SetLeaf(list, "8"),
          Operation(pb::EditOperation::DELETE, list + "[.='100']")});
  pb::EditOperation by_value = Operation(pb::EditOperation::DELETE, list);
  by_value.set_value("101");
  Commit({by_value});
  EXPECT_THAT(Shown(list), AllOf(HasSubstr(">7<"), HasSubstr(">8<"), Not(HasSubstr(">10"))));
}

TEST_F(EditTest, EntriesReadInTheOrderOfTheirKeysHoweverTheyCame) {
  Commit({Document(Replaced(EastDocument(), "east", "west"))});
  Commit({Document(Replaced(EastDocument(), "east", "alpha"))});
  const std::string text = Shown();
  EXPECT_LT(text.find("<id>alpha"), text.find("<id>east"));
  EXPECT_LT(text.find("<id>east"), text.find("<id>west"));
  Commit({SetLeaf(std::string(kBlue) + "/remote-meps", "9")});
  const std::string list = Shown(std::string(kBlue) + "/remote-meps");
  EXPECT_LT(list.find(">9<"), list.find(">100<"));
}

TEST_F(EditTest, NamesWithQuotesOfBothKindsHaveAPath) {
  const std::string path = R"(/config/oam/cfm/md[id="it's ""east"""])";
  Commit({SetLeaf(path + "/level", "1")});
  const auto parsed = ParsePath(TheModel(), path);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->back().keys.front(), R"(it's "east")");
  EXPECT_EQ(TextOf(*parsed), path);
  EXPECT_THAT(Shown(path), HasSubstr("<level>1</level>"));
}

struct Refusal {
  const char* name;
  pb::EditOperation edit;
  const char* message;
};

std::vector<Refusal> Refusals() {
  const auto merge = [](const std::string& path) {
    return Operation(pb::EditOperation::MERGE, path);
  };
  const std::string xml = "<config xmlns='urn:element:yang:cfm'>";
  return {
      {"UnknownNode", SetLeaf("/config/oam/cfm/mdd[id='east']", "1"), "the model has no 'mdd'"},
      {"UnknownLeaf", SetLeaf(std::string(kEast) + "/colour", "1"), "the model has no 'colour'"},
      {"WrongKey", merge("/config/oam/cfm/md[name='east']"), "needs the key 'id'"},
      {"KeyOnContainer", merge("/config/oam[id='x']"), "takes no key"},
      {"NoKey", merge("/config/oam/cfm/md"), "needs its key"},
      {"KeyMissingOnTheWay", SetLeaf("/config/oam/cfm/md/level", "1"),
       "without saying which entry"},
      {"MalformedPath", SetLeaf("/config/oam/cfm/md[id='east/level", "1"), "malformed"},
      {"EmptyPath", SetLeaf("", "1"), "malformed"},
      {"RelativePath", SetLeaf("config/oam", "1"), "malformed"},
      {"LeafWithoutValue", merge(std::string(kEast) + "/level"), "needs a value"},
      {"ValueForEntry", SetLeaf(kEast, "1"), "takes no value"},
      {"KeyLeaf", SetLeaf(std::string(kEast) + "/id", "west"), "cannot be changed"},
      {"KeyLeafDeleted", Operation(pb::EditOperation::DELETE, std::string(kEast) + "/id"),
       "cannot be changed"},
      {"StateData", SetLeaf("/status/oam/cfm/local[id='1']/md", "x"), "state data"},
      {"MalformedXml", Document(xml + "\n<oam>\n<cfm></oam></config>"), "line 3"},
      {"MalformedJson", Document("{\n\"element-cfm:config\":\n{]}"), "line 3"},
      {"EmptyDocument", Document(""), "empty"},
      {"StateDocument", Document("<status xmlns='urn:element:yang:cfm'><oam/></status>"), "state"},
      {"UnknownNodeInDocument", Document(xml + "<oam><cfm><colour/></cfm></oam></config>"),
       "colour"},
      {"UnknownModule", Document("<config xmlns='urn:other'/>"), "urn:other"},
      {"OperationAttribute",
       Document("<config xmlns='urn:element:yang:cfm' "
                "xmlns:nc='urn:ietf:params:xml:ns:netconf:base:1.0' nc:operation='delete'/>"),
       "urn:ietf:params:xml:ns:netconf:base:1.0"},
      {"EntryWithoutKey",
       Document(xml + "<oam><cfm><md><level>3</level></md></cfm></oam></config>"), "key"},
      {"DeleteByDocument", Document(EastDocument(), pb::EditOperation::DELETE), "take a path"},
  };
}

class RefusedEdit : public EditTest, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(RefusedEdit, ChangesNothingAndSaysWhy) {
  const Refusal refusal = Refusals()[GetParam()];
  const std::string before = Shown();
  const Problems problems = TryCommit({SetLeaf(std::string(kEast) + "/level", "6"), refusal.edit});
  ASSERT_FALSE(problems.empty());
  EXPECT_THAT(problems.front().message, HasSubstr(refusal.message));
  EXPECT_EQ(Shown(), before);
}

INSTANTIATE_TEST_SUITE_P(Edit, RefusedEdit, ::testing::Range<std::size_t>(0, Refusals().size()),
                         [](const auto& instance) {
                           return std::string(Refusals()[instance.param].name);
                         });

}  // namespace
}  // namespace agentd::test
