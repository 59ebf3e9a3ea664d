// A commit works on what it touches, and the rest of the tree stays where it is.
#include "draft.h"

#include "edit.h"
#include "fixture.h"
#include "nodes.h"
#include "render.h"
#include "validation.h"

namespace agentd::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string Md(const std::string& name, int level = 3) {
  return Replaced(Replaced(EastDocument(), "east", name), R"("level":3)",
                  "\"level\":" + std::to_string(level));
}

std::string PathOfMd(const std::string& name) {
  return "/config/oam/cfm/md[id='" + name + "']";
}

class DraftTest : public DatastoreTest {
 protected:
  void SetUp() override {
    for (const char* name : {"b", "d", "f"}) {
      Commit({Document(Md(name))});
    }
  }

  Draft Edited(const std::vector<pb::EditOperation>& operations) {
    Draft draft = datastore_.NewDraft();
    EXPECT_THAT(Texts(ApplyEdits(TheModel(), draft, EditOf(operations))), IsEmpty());
    return draft;
  }

  static std::string Text(const lyd_node* top) {
    pb::Get get;
    get.set_format(pb::FORMAT_JSON);
    get.set_with_defaults(true);
    pb::Reply reply;
    EXPECT_THAT(Texts(Render(TheModel(), top, get, reply)), IsEmpty());
    return reply.document();
  }

  static std::vector<std::string> Mds(const lyd_node* top) {
    const lyd_node* node = top;
    for (int depth = 0; node != nullptr && depth < 3; ++depth) {
      node = lyd_child(node);
    }
    std::vector<std::string> names;
    for (; node != nullptr; node = node->next) {
      names.emplace_back(lyd_get_value(lyd_child(node)));
    }
    return names;
  }

  const lyd_node* NodeOf(const std::string& path) {
    return Find(datastore_.Running()->Top(), *ParsePath(TheModel(), path));
  }
};

TEST_F(DraftTest, ALeafTakesItsDomainOnly) {
  EXPECT_THAT(Mds(Edited({SetLeaf(PathOfMd("d") + "/level", "5")}).Data().get()), ElementsAre("d"));
}

TEST_F(DraftTest, ADocumentTakesTheDomainsThatItNames) {
  const Draft draft = Edited({Document(Md("f", 6)), Document(Md("a"))});
  EXPECT_FALSE(draft.IsWhole());
  EXPECT_THAT(Mds(draft.Data().get()), ElementsAre("a", "f"));
  EXPECT_THAT(Mds(draft.Before().get()), ElementsAre("f"));
}

TEST_F(DraftTest, AnEditAboveTheDomainsTakesEverything) {
  const Draft draft = Edited({SetLeaf(PathOfMd("d") + "/level", "5"),
                              Operation(pb::EditOperation::MERGE, "/config/oam/cfm")});
  EXPECT_TRUE(draft.IsWhole());
  EXPECT_THAT(Mds(draft.Data().get()), ElementsAre("b", "d", "f"));
  EXPECT_THAT(Text(draft.Data().get()), HasSubstr(R"("level": 5)"));
}

TEST_F(DraftTest, IsCompletedToWhatACommitMakes) {
  const std::vector<pb::EditOperation> edits = {
      SetLeaf(PathOfMd("d") + "/level", "5"), Document(Md("c")), Document(Md("z")),
      Operation(pb::EditOperation::DELETE, PathOfMd("f"))};
  Draft draft = Edited(edits);
  AddImplicitNodes(TheModel(), draft.Data());
  const std::string text = Text(draft.Complete().get());
  Commit(edits);
  EXPECT_EQ(Text(datastore_.Running()->Top()), text);
  EXPECT_THAT(Mds(datastore_.Running()->Top()), ElementsAre("b", "c", "d", "z"));
}

TEST_F(DraftTest, ACommitLeavesEveryOtherNodeWhereItIs) {
  const lyd_node* other = NodeOf(PathOfMd("b") + "/level");
  const lyd_node* changed = NodeOf(PathOfMd("d"));
  Commit({SetLeaf(PathOfMd("d") + "/level", "5"), Document(Md("c"))});
  EXPECT_EQ(NodeOf(PathOfMd("b") + "/level"), other);
  EXPECT_EQ(NodeOf(PathOfMd("d")), changed);
  EXPECT_STREQ(lyd_get_value(NodeOf(PathOfMd("d") + "/level")), "5");
}

TEST_F(DraftTest, WhoReadsAStateKeepsIt) {
  const SnapshotPtr reader = datastore_.Running();
  const std::string before = Text(reader->Top());
  Commit({SetLeaf(PathOfMd("d") + "/level", "5"),
          Operation(pb::EditOperation::DELETE, PathOfMd("b"))});
  EXPECT_EQ(Text(reader->Top()), before);
  EXPECT_THAT(Mds(datastore_.Running()->Top()), ElementsAre("d", "f"));
}

TEST_F(DraftTest, TheLastDomainMayGoAndComeBack) {
  for (const char* name : {"b", "d", "f"}) {
    Commit({Operation(pb::EditOperation::DELETE, PathOfMd(name))});
  }
  EXPECT_THAT(Mds(datastore_.Running()->Top()), IsEmpty());
  Commit({Document(Md("b"))});
  EXPECT_THAT(Mds(datastore_.Running()->Top()), ElementsAre("b"));
}

TEST_F(DraftTest, ARefusedCommitChangesNothing) {
  const std::string before = Text(datastore_.Running()->Top());
  EXPECT_EQ(
      TryCommit({Document(Md("c")), Operation(pb::EditOperation::DELETE, PathOfMd("d") + "/level")})
          .size(),
      1U);
  EXPECT_EQ(Text(datastore_.Running()->Top()), before);
}

TEST_F(DraftTest, CapacityCountsWhatIsNotInTheDraft) {
  // Nine are there.
  std::vector<pb::EditOperation> edits;
  const auto remotes = [](const char* md) { return PathOfMd(md) + "/ma[id='blue']/remote-meps"; };
  for (int id = 200; id <= 8191; ++id) {
    edits.push_back(SetLeaf(remotes("b"), std::to_string(id)));
  }
  for (int id = 200; id < 200 + 8192 - 9 - 7992; ++id) {
    edits.push_back(SetLeaf(remotes("f"), std::to_string(id)));
  }
  Commit(edits);
  const std::string more = remotes("d");
  EXPECT_THAT(Texts(TryCommit({SetLeaf(more, "7")})), ElementsAre(HasSubstr("8193 instances")));
  Commit({Operation(pb::EditOperation::DELETE, PathOfMd("f")), SetLeaf(more, "7")});
}

}  // namespace
}  // namespace agentd::test
