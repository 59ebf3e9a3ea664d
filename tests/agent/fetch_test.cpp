// Reads of programs: what comes with what they ask for.
#include "fetch.h"

#include <confd_lib.h>

#include "fixture.h"

namespace agentd::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

pb::Value Text(const std::string& text) {
  pb::Value value;
  value.set_type(C_BUF);
  value.set_text(text);
  return value;
}

pb::Value Number(confd_vtype type, std::int64_t number) {
  pb::Value value;
  value.set_type(type);
  value.set_number(number);
  return value;
}

// Builds paths step by step.
class PathTo {
 public:
  PathTo() { Step("config").Step("oam").Step("cfm"); }
  PathTo& Step(const std::string& name) {
    path_.add_steps()->set_name(name);
    return *this;
  }
  PathTo& Key(const pb::Value& key) {
    *path_.mutable_steps()->rbegin()->add_keys() = key;
    return *this;
  }
  PathTo& Position(std::uint32_t position) {
    path_.mutable_steps()->rbegin()->set_position(position);
    return *this;
  }
  const pb::Path& Get() const { return path_; }

 private:
  pb::Path path_;
};

class FetchTest : public DatastoreTest {
 protected:
  void SetUp() override {
    Commit({Document(EastDocument()), Document(Replaced(EastDocument(), "east", "west")),
            Document(Replaced(EastDocument(), R"("id":5)", R"("id":12)"))});
  }

  pb::DataNode Read(const PathTo& path) {
    auto data = Fetch(TheModel(), *datastore_.Running(), path.Get());
    EXPECT_TRUE(data);
    return data ? *data : pb::DataNode();
  }

  int Refused(const PathTo& path) {
    const auto data = Fetch(TheModel(), *datastore_.Running(), path.Get());
    return data ? 0 : data.Why().front().code;
  }

  static const pb::DataNode* Child(const pb::DataNode& node, const std::string& name) {
    for (const auto& child : node.children()) {
      if (child.name() == name) {
        return &child;
      }
    }
    return nullptr;
  }

  static const pb::DataNode& Cfm(const pb::DataNode& top) {
    return *Child(*Child(top, "oam"), "cfm");
  }
};

PathTo Mep(const pb::Value& id) {
  return PathTo().Step("md").Key(Text("east")).Step("ma").Key(Text("blue")).Step("mep").Key(id);
}

TEST_F(FetchTest, AKeyedPathComesWithTheOwnNodesOfWhatIsOnTheWay) {
  const pb::DataNode top = Read(Mep(Text("5")).Step("interface"));
  EXPECT_EQ(top.name(), "config");
  const pb::DataNode& cfm = Cfm(top);
  EXPECT_EQ(cfm.coverage(), pb::DataNode::SOME_ENTRIES);
  ASSERT_EQ(cfm.list_sizes_size(), 1);
  EXPECT_EQ(cfm.list_sizes(0).entries(), 2U);
  ASSERT_EQ(cfm.children_size(), 1);
  const pb::DataNode& md = cfm.children(0);
  EXPECT_EQ(md.tag(), 0x5baff9dcU);
  EXPECT_EQ(md.keys(0).text(), "east");
  EXPECT_EQ(Child(md, "level")->value().number(), 3);
  const pb::DataNode& ma = *Child(md, "ma");
  EXPECT_EQ(ma.list_sizes(0).entries(), 2U);
  EXPECT_EQ(Child(ma, "vlan-list")->value().type(), static_cast<unsigned>(C_LIST));
  EXPECT_EQ(Child(ma, "vlan-list")->value().list_size(), 2);
  const pb::DataNode& mep = *Child(ma, "mep");
  EXPECT_EQ(mep.coverage(), pb::DataNode::OWN_NODES);
  EXPECT_EQ(Child(mep, "interface")->value().text(), "eth0");
  EXPECT_EQ(Child(mep, "primary-vlan-id"), nullptr);
}

TEST_F(FetchTest, ContainersComeWithDefaultsAndEmptyLeaves) {
  const pb::DataNode top = Read(Mep(Text("5")));
  const pb::DataNode& mep = *Child(*Child(*Child(Cfm(top), "md"), "ma"), "mep");
  const pb::DataNode& check = *Child(mep, "continuity-check");
  EXPECT_EQ(check.coverage(), pb::DataNode::OWN_NODES);
  EXPECT_EQ(Child(check, "cci-enabled")->value().type(), static_cast<unsigned>(C_XMLTAG));
  EXPECT_EQ(Child(check, "cci-enabled")->value().tag(), 0x313c47c3U);
  EXPECT_EQ(Child(check, "cci-enabled")->value().ns(), 0x76d9c9b9U);
  EXPECT_EQ(Child(check, "fault-alarm-time")->value().number(), 2500);
  EXPECT_EQ(Child(check, "lowest-fault-priority-defect")->value().number(), 1);
}

TEST_F(FetchTest, KeysOfAnyTypeAndFormFindTheirEntry) {
  for (const pb::Value& key : {Text("5"), Text("05"), Number(C_INT64, 5), Number(C_INT32, 5),
                               Number(C_UINT16, 5), Number(C_UINT64, 5)}) {
    const pb::DataNode top = Read(Mep(key));
    const pb::DataNode* mep = Child(*Child(*Child(Cfm(top), "md"), "ma"), "mep");
    ASSERT_NE(mep, nullptr);
    EXPECT_EQ(mep->keys(0).number(), 5);
  }
}

TEST_F(FetchTest, AnEntryThatDoesNotExistIsAbsentFromItsParent) {
  for (const pb::Value& key : {Text("6"), Number(C_INT32, 9000), Text("five"), Text("'")}) {
    const pb::DataNode top = Read(Mep(key).Step("interface"));
    const pb::DataNode& ma = *Child(*Child(Cfm(top), "md"), "ma");
    EXPECT_EQ(Child(ma, "mep"), nullptr);
    EXPECT_EQ(ma.coverage(), pb::DataNode::SOME_ENTRIES);
  }
}

TEST_F(FetchTest, QuotesInAKeyDoNotBreakOut) {
  const pb::DataNode top =
      Read(PathTo().Step("md").Key(Text("east'] | //md[id='west")).Step("level"));
  EXPECT_EQ(Child(Cfm(top), "md"), nullptr);
}

TEST_F(FetchTest, APositionBringsTheWholeEntry) {
  const pb::DataNode top = Read(PathTo().Step("md").Position(0).Step("ma").Position(0).Step("id"));
  const pb::DataNode& md = *Child(Cfm(top), "md");
  EXPECT_EQ(md.coverage(), pb::DataNode::EVERYTHING);
  EXPECT_EQ(md.position(), 0U);
  EXPECT_EQ(md.keys(0).text(), "east");
  std::vector<std::int64_t> meps;
  for (const auto& child : Child(md, "ma")->children()) {
    if (child.name() == "mep") {
      EXPECT_EQ(child.position(), meps.size());
      EXPECT_EQ(child.coverage(), pb::DataNode::EVERYTHING);
      meps.push_back(child.keys(0).number());
    }
  }
  EXPECT_THAT(meps, ElementsAre(5, 12));
}

TEST_F(FetchTest, APositionBelowAKeyBringsThatEntryOnly) {
  const pb::DataNode top =
      Read(PathTo().Step("md").Key(Text("east")).Step("ma").Position(0).Step("id"));
  const pb::DataNode& md = *Child(Cfm(top), "md");
  EXPECT_EQ(md.coverage(), pb::DataNode::SOME_ENTRIES);
  EXPECT_EQ(Child(md, "ma")->coverage(), pb::DataNode::EVERYTHING);
}

TEST_F(FetchTest, APositionBeyondTheEndIsAbsent) {
  const pb::DataNode top = Read(PathTo().Step("md").Position(2));
  EXPECT_EQ(Child(Cfm(top), "md"), nullptr);
  EXPECT_EQ(Cfm(top).list_sizes(0).entries(), 2U);
}

TEST_F(FetchTest, AListWithoutKeyIsCountedInItsParent) {
  const pb::DataNode top = Read(PathTo().Step("md").Key(Text("east")).Step("ma"));
  const pb::DataNode& md = *Child(Cfm(top), "md");
  EXPECT_EQ(md.list_sizes(0).name(), "ma");
  EXPECT_EQ(md.list_sizes(0).entries(), 1U);
}

TEST_F(FetchTest, PathsThatTheModelDoesNotHaveAreRefused) {
  EXPECT_EQ(Refused(PathTo().Step("mdd")), CONFD_ERR_BADPATH);
  EXPECT_EQ(Refused(PathTo().Step("md").Step("level")), CONFD_ERR_BADPATH);
  EXPECT_EQ(Refused(PathTo().Step("md").Key(Text("a")).Key(Text("b"))), CONFD_ERR_BADPATH);
  EXPECT_EQ(Refused(PathTo().Key(Text("a"))), CONFD_ERR_BADPATH);
  EXPECT_EQ(Refused(PathTo().Position(0)), CONFD_ERR_BADPATH);
  EXPECT_EQ(Refused(Mep(Number(C_XMLTAG, 1))), CONFD_ERR_BADTYPE);
  pb::Path status;
  status.add_steps()->set_name("status");
  const auto data = Fetch(TheModel(), *datastore_.Running(), status);
  ASSERT_FALSE(data);
  EXPECT_THAT(data.Why().front().message, HasSubstr("not configuration"));
  EXPECT_FALSE(Fetch(TheModel(), *datastore_.Running(), pb::Path()));
}

}  // namespace
}  // namespace agentd::test
