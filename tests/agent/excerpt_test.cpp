// The part of the configuration that travels with reads.
#include "excerpt.h"

#include <confd_lib.h>

#include <algorithm>

#include "fetch.h"
#include "fixture.h"
#include "instance_path.h"
#include "nodes.h"

namespace agentd::test {
namespace {

using pb::DataNode;

class ExcerptTest : public DatastoreTest {
 protected:
  void SetUp() override {
    Commit({Document(EastDocument()), Document(Replaced(EastDocument(), "east", "west")),
            Document(Replaced(EastDocument(), R"("id":5)", R"("id":12)"))});
  }

  const lyd_node& At(const std::string& path) {
    const lyd_node* node = Find(datastore_.Running()->Top(), *ParsePath(TheModel(), path));
    if (node == nullptr) {
      throw std::logic_error("nothing at " + path);
    }
    return *node;
  }
  google::protobuf::RepeatedPtrField<DataNode> Of(const std::vector<std::string>& paths) {
    const SnapshotPtr state = datastore_.Running();
    Excerpt excerpt(TheModel(), *state);
    for (const std::string& path : paths) {
      excerpt.Add(At(path));
    }
    return excerpt.Take();
  }
  static const DataNode& Child(const DataNode& node, const std::string& name, int which = 0) {
    for (const DataNode& child : node.children()) {
      if (child.name() == name && which-- == 0) {
        return child;
      }
    }
    throw std::logic_error("no " + name + " in " + node.name());
  }
  static const DataNode& Mds(const google::protobuf::RepeatedPtrField<DataNode>& trees) {
    return Child(Child(trees.Get(0), "oam"), "cfm");
  }
  static int Count(const DataNode& node, const std::string& name) {
    return static_cast<int>(
        std::count_if(node.children().begin(), node.children().end(),
                      [&](const DataNode& child) { return child.name() == name; }));
  }
};

TEST_F(ExcerptTest, OfAnEntryIsWhatAFetchOfItAnswers) {
  pb::Path path;
  for (const auto& [name, key] : std::vector<std::pair<std::string, std::string>>{
           {"config", ""}, {"oam", ""}, {"cfm", ""}, {"md", "east"}, {"ma", "blue"}}) {
    auto& step = *path.add_steps();
    step.set_name(name);
    if (!key.empty()) {
      step.add_keys()->set_type(C_BUF);
      step.mutable_keys(0)->set_text(key);
    }
  }
  auto& mep = *path.add_steps();
  mep.set_name("mep");
  mep.add_keys()->set_type(C_INT32);
  mep.mutable_keys(0)->set_number(5);
  const auto fetched = Fetch(TheModel(), *datastore_.Running(), path);
  ASSERT_TRUE(fetched);
  const auto trees = Of({kMep5});
  ASSERT_EQ(trees.size(), 1);
  EXPECT_EQ(trees.Get(0).SerializeAsString(), fetched->SerializeAsString());
}

TEST_F(ExcerptTest, OfSeveralHoldsWhatTheyShareOnce) {
  const auto trees = Of({kMep5, "/config/oam/cfm/md[id='east']/ma[id='blue']/mep[id='12']", kMep5,
                         "/config/oam/cfm/md[id='west']/ma[id='blue']"});
  ASSERT_EQ(trees.size(), 1);
  const DataNode& mds = Mds(trees);
  EXPECT_EQ(Count(mds, "md"), 2);
  EXPECT_EQ(mds.coverage(), DataNode::SOME_ENTRIES);
  const DataNode& blue = Child(Child(mds, "md"), "ma");
  EXPECT_EQ(Count(blue, "mep"), 2);
  EXPECT_EQ(blue.coverage(), DataNode::SOME_ENTRIES);
  const DataNode& west_blue = Child(Child(mds, "md", 1), "ma");
  EXPECT_EQ(Count(west_blue, "mep"), 0);
  EXPECT_EQ(west_blue.coverage(), DataNode::OWN_NODES);
  EXPECT_EQ(west_blue.list_sizes(0).entries(), 1U);
}

TEST_F(ExcerptTest, OfALeafListElementIsItsEntry) {
  const auto trees = Of({"/config/oam/cfm/md[id='east']/ma[id='blue']/remote-meps[.='100']"});
  const DataNode& blue = Child(Child(Mds(trees), "md"), "ma");
  EXPECT_EQ(Child(blue, "remote-meps").value().list_size(), 2);
}

TEST_F(ExcerptTest, OfNothingIsEmpty) {
  EXPECT_TRUE(Of({}).empty());
}

}  // namespace
}  // namespace agentd::test
