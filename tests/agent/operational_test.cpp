// The operational datastore: writes, their results, and reads of programs.
#include "fixture.h"
#include "operational_fetch.h"
#include "operational_paths.h"
#include "operational_store.h"

namespace agentd::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class OperationalTest : public ::testing::Test {
 protected:
  // 0: it worked.
  static int CodeOf(const Problems& problems) {
    return problems.empty() ? CONFD_OK : problems.front().code;
  }
  int Create(const pb::Path& path) { return CodeOf(store_.Create(path)); }
  int Set(const pb::Path& path, const pb::Value& value) { return CodeOf(store_.Set(path, value)); }
  int Delete(const pb::Path& path) {
    const auto gone = store_.Delete(path);
    return gone ? CONFD_OK : gone.Why().front().code;
  }
  pb::DataNode Fetched(const pb::Path& path) {
    const auto data = FetchOperational(TheModel(), store_, path);
    EXPECT_TRUE(data);
    return data ? *data : pb::DataNode();
  }
  // /status/oam/cfm of a reply.
  static const pb::DataNode& Cfm(const pb::DataNode& top) { return top.children(0).children(0); }
  std::vector<std::string> Keys(const std::string& list) {
    std::vector<std::string> keys;
    const auto path = ResolvePath(TheModel(), StatusPath({list}));
    for (const EntryPtr& entry : EntriesBelow(store_.Top(), *path)) {
      keys.push_back(entry->Keys().front());
    }
    return keys;
  }

  ProviderModel providers_{TheModel()};
  OperationalStore store_{TheModel(), providers_};
};

TEST_F(OperationalTest, EntriesAreInTheOrderOfTheirCreation) {
  for (const int key : {5, 3, 9}) {
    EXPECT_EQ(Create(EntryPath("local", key)), CONFD_OK);
  }
  EXPECT_THAT(Keys("local"), ElementsAre("5", "3", "9"));
  EXPECT_EQ(Delete(EntryPath("local", 3)), CONFD_OK);
  EXPECT_EQ(Create(EntryPath("local", 3)), CONFD_OK);
  EXPECT_THAT(Keys("local"), ElementsAre("5", "9", "3"));
  EXPECT_THAT(Keys("remote"), IsEmpty());
}

TEST_F(OperationalTest, PositionsCountFromNoughtInThatOrder) {
  for (const int key : {5, 3, 9, 1}) {
    Create(EntryPath("local", key));
  }
  EXPECT_EQ(Delete(PositionPath("local", 4)), CONFD_ERR_NOEXISTS);
  EXPECT_EQ(Delete(PositionPath("local", 3)), CONFD_OK);
  EXPECT_EQ(Delete(PositionPath("local", 0)), CONFD_OK);
  EXPECT_EQ(Delete(PositionPath("local", 1)), CONFD_OK);
  EXPECT_THAT(Keys("local"), ElementsAre("3"));
}

TEST_F(OperationalTest, CreatingTwiceIsRefused) {
  EXPECT_EQ(Create(EntryPath("local", 0)), CONFD_OK);
  EXPECT_EQ(Create(EntryPath("local", 0)), CONFD_ERR_ALREADY_EXISTS);
  EXPECT_EQ(Create(EntryPath("remote", 0)), CONFD_OK);
}

TEST_F(OperationalTest, KeysMayComeAsTextOfTheirType) {
  pb::Path path = StatusPath({"local"});
  *path.mutable_steps(3)->add_keys() = TextOf("+7");
  EXPECT_EQ(Create(path), CONFD_OK);
  EXPECT_EQ(Create(EntryPath("local", 7)), CONFD_ERR_ALREADY_EXISTS);
  *path.mutable_steps(3)->mutable_keys(0) = TextOf("seven");
  EXPECT_EQ(Create(path), CONFD_ERR_BADTYPE);
  EXPECT_EQ(Delete(path), CONFD_ERR_NOEXISTS);
}

TEST_F(OperationalTest, WhatDoesNotExistCannotBeWrittenOrDeleted) {
  EXPECT_EQ(Set(EntryPath("local", 0, "md"), TextOf("a")), CONFD_ERR_NOEXISTS);
  EXPECT_EQ(Delete(EntryPath("local", 0)), CONFD_ERR_NOEXISTS);
  EXPECT_EQ(Create(StatusPath({"lokal"})), CONFD_ERR_BADPATH);
  EXPECT_EQ(Create(StatusPath({"local"})), CONFD_ERR_BADPATH);
  EXPECT_EQ(Create(PositionPath("local", 0)), CONFD_ERR_BADPATH);
}

TEST_F(OperationalTest, WhatNoProgramMayWriteIsRefused) {
  Create(EntryPath("local", 0));
  EXPECT_EQ(Set(EntryPath("local", 0, "id"), NumberOf(C_INT64, 1)), CONFD_ERR_NOT_WRITABLE);
  EXPECT_EQ(Set(EntryPath("local", 0, "level"), NumberOf(C_INT32, 1)), CONFD_ERR_NOT_WRITABLE);
  EXPECT_EQ(Set(EntryPath("local", 0), NumberOf(C_INT32, 1)), CONFD_ERR_NOT_WRITABLE);
  EXPECT_EQ(Create(EntryPath("local", 0, "md")), CONFD_ERR_NOTCREATABLE);
  EXPECT_EQ(Create(StatusPath({})), CONFD_ERR_NOTCREATABLE);
  EXPECT_EQ(Delete(EntryPath("local", 0, "md")), CONFD_ERR_NOTDELETABLE);
  pb::Path configuration;
  for (const char* name : {"config", "oam", "cfm", "md"}) {
    configuration.add_steps()->set_name(name);
  }
  *configuration.mutable_steps(3)->add_keys() = TextOf("east");
  EXPECT_EQ(Create(configuration), CONFD_ERR_NOTCREATABLE);
  EXPECT_EQ(Delete(configuration), CONFD_ERR_NOTDELETABLE);
  configuration.add_steps()->set_name("level");
  EXPECT_EQ(Set(configuration, NumberOf(C_INT32, 1)), CONFD_ERR_NOT_WRITABLE);
}

struct TypeCase {
  const char* list;
  const char* leaf;
  pb::Value value;
  int code;
};

TEST_F(OperationalTest, ALeafTakesValuesOfItsOwnTypeOnly) {
  Create(EntryPath("local", 0));
  Create(EntryPath("remote", 0));
  const TypeCase cases[] = {
      {"local", "md", TextOf("east", C_STR), CONFD_OK},
      {"local", "md", TextOf("east", C_BUF), CONFD_OK},
      {"local", "md", TextOf(""), CONFD_OK},
      {"local", "md", NumberOf(C_INT32, 1), CONFD_ERR_BADTYPE},
      {"local", "md", TextOf("\xff"), CONFD_ERR_BADTYPE},
      {"local", "md", TextOf("a\x01"), CONFD_ERR_BADTYPE},
      {"local", "md", TextOf(std::string("a\0b", 3)), CONFD_ERR_BADTYPE},
      {"local", "mep", NumberOf(C_INT32, -5), CONFD_OK},
      {"local", "mep", NumberOf(C_INT64, 5), CONFD_ERR_BADTYPE},
      {"local", "mep", NumberOf(C_UINT32, 5), CONFD_ERR_BADTYPE},
      {"local", "mep", TextOf("5"), CONFD_ERR_BADTYPE},
      {"local", "mep", NumberOf(C_INT32, 1LL << 40), CONFD_ERR_BADTYPE},
      {"local", "tx-rdi", NumberOf(C_ENUM_VALUE, 1), CONFD_OK},
      {"local", "tx-rdi", NumberOf(C_ENUM_VALUE, 2), CONFD_ERR_BADTYPE},
      {"local", "tx-rdi", NumberOf(C_BOOL, 1), CONFD_ERR_BADTYPE},
      {"local", "tx-rdi", TextOf("true"), CONFD_ERR_BADTYPE},
      {"local", "tx-rdi", pb::Value(), CONFD_ERR_BADTYPE},
      {"remote", "state", NumberOf(C_ENUM_VALUE, 3), CONFD_OK},
      {"remote", "state", NumberOf(C_ENUM_VALUE, 4), CONFD_ERR_BADTYPE},
  };
  for (const TypeCase& each : cases) {
    EXPECT_EQ(Set(EntryPath(each.list, 0, each.leaf), each.value), each.code)
        << each.leaf << " of type " << each.value.type();
  }
}

TEST_F(OperationalTest, ARefusedValueLeavesTheOldOne) {
  Create(EntryPath("local", 0));
  Set(EntryPath("local", 0, "mep"), NumberOf(C_INT32, 5));
  Set(EntryPath("local", 0, "mep"), TextOf("6"));
  const pb::DataNode data = Fetched(EntryPath("local", 0, "mep"));
  const pb::DataNode& entry = Cfm(data).children(0);
  ASSERT_EQ(entry.children_size(), 2);
  EXPECT_EQ(entry.children(1).name(), "mep");
  EXPECT_EQ(entry.children(1).value().type(), C_INT32);
  EXPECT_EQ(entry.children(1).value().number(), 5);
}

TEST_F(OperationalTest, ProblemsNameOperationPathAndCause) {
  const Problems problems = store_.Set(EntryPath("local", 0, "md"), TextOf("a"));
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems.front().message,
            "set /status/oam/cfm/local[id='0']/md: there is no such entry");
}

TEST_F(OperationalTest, ACountComesWithTheParent) {
  Create(EntryPath("remote", 4));
  Create(EntryPath("remote", 5));
  const pb::DataNode data = Fetched(StatusPath({"remote"}));
  ASSERT_EQ(Cfm(data).list_sizes_size(), 2);
  EXPECT_EQ(Cfm(data).list_sizes(0).name(), "local");
  EXPECT_EQ(Cfm(data).list_sizes(0).entries(), 0U);
  EXPECT_EQ(Cfm(data).list_sizes(1).name(), "remote");
  EXPECT_EQ(Cfm(data).list_sizes(1).entries(), 2U);
  EXPECT_EQ(Cfm(data).coverage(), pb::DataNode::SOME_ENTRIES);
  EXPECT_EQ(Cfm(data).children_size(), 0);
}

TEST_F(OperationalTest, ReadsGiveTheEntryWithItsKeysAndWhatIsWritten) {
  Create(EntryPath("local", -3));
  Set(EntryPath("local", -3, "tx-rdi"), NumberOf(C_ENUM_VALUE, 1));
  const pb::DataNode data = Fetched(EntryPath("local", -3));
  const pb::DataNode& entry = Cfm(data).children(0);
  EXPECT_EQ(entry.coverage(), pb::DataNode::OWN_NODES);
  EXPECT_EQ(entry.tag(), 0x7ef235bfU);
  ASSERT_EQ(entry.keys_size(), 1);
  EXPECT_EQ(entry.keys(0).type(), C_INT64);
  EXPECT_EQ(entry.keys(0).number(), -3);
  ASSERT_EQ(entry.children_size(), 2);
  EXPECT_EQ(entry.children(1).value().type(), C_ENUM_VALUE);
  EXPECT_EQ(entry.children(1).value().number(), 1);
}

TEST_F(OperationalTest, AReadByPositionGivesTheWholeEntry) {
  Create(EntryPath("local", 8));
  Create(EntryPath("local", 9));
  const pb::DataNode data = Fetched(PositionPath("local", 1, "md"));
  const pb::DataNode& entry = Cfm(data).children(0);
  EXPECT_EQ(entry.keys(0).number(), 9);
  EXPECT_EQ(entry.position(), 1U);
  EXPECT_EQ(entry.coverage(), pb::DataNode::EVERYTHING);
}

TEST_F(OperationalTest, ReadsOfConfigurationAndOfUnknownNodesAreRefused) {
  pb::Path path;
  path.add_steps()->set_name("config");
  const auto data = FetchOperational(TheModel(), store_, path);
  ASSERT_FALSE(data);
  EXPECT_EQ(data.Why().front().code, CONFD_ERR_BADPATH);
  EXPECT_THAT(data.Why().front().message, HasSubstr("configuration"));
}

TEST_F(OperationalTest, ChangesAreToldOncePerChange) {
  std::vector<std::string> told;
  store_.OnChange([&](const EntryPtr& entry) {
    told.push_back(entry->Keys().front() + (entry->gone ? " gone" : ""));
  });
  Create(EntryPath("local", 1));
  Set(EntryPath("local", 1, "md"), TextOf("a"));
  Set(EntryPath("local", 1, "md"), TextOf("a"));
  Set(EntryPath("local", 1, "ma"), TextOf(""));
  Set(EntryPath("local", 1, "ma"), TextOf(""));
  Delete(EntryPath("local", 1));
  EXPECT_THAT(told, ElementsAre("1", "1", "1", "1 gone"));
}

// As many records as the element has, created, written and deleted the way
// their owner does.
TEST_F(OperationalTest, AsManyRecordsAsThereAreKeysComeAndGo) {
  constexpr int kRecords = 8192;
  for (int key = 0; key < kRecords; ++key) {
    ASSERT_EQ(Create(EntryPath("local", key)), CONFD_OK);
    ASSERT_EQ(Set(EntryPath("local", key, "mep"), NumberOf(C_INT32, key)), CONFD_OK);
  }
  for (int key = 0; key < kRecords; key += 2) {
    ASSERT_EQ(Delete(EntryPath("local", key)), CONFD_OK);
  }
  for (std::uint32_t position = kRecords / 2; position > 0; --position) {
    ASSERT_EQ(Delete(PositionPath("local", position - 1)), CONFD_OK);
  }
  EXPECT_THAT(Keys("local"), IsEmpty());
}

}  // namespace
}  // namespace agentd::test
