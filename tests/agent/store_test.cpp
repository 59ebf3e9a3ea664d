// The running configuration on disk: it survives, and failures leave it whole.
#include "store.h"

#include <fstream>

#include "edit.h"
#include "faulty_disk.h"
#include "fixture.h"
#include "render.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Disk : public ::testing::Test {
 protected:
  struct Open {
    explicit Open(const std::filesystem::path& file) : store(file) {}
    Store store;
    Datastore datastore{TheModel(), store};

    std::string Text() const {
      pb::Get get;
      get.set_format(pb::FORMAT_JSON);
      get.set_with_defaults(true);
      pb::Reply reply;
      static_cast<void>(Render(TheModel(), datastore.Running()->Top(), get, reply));
      return reply.document();
    }
  };

  static Problems Commit(Open& open, const std::vector<pb::EditOperation>& operations);

  std::string WhyNot(const std::filesystem::path& file) {
    try {
      const Open open(file);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return {};
  }

  std::filesystem::path File() const { return directory_ / "running.db"; }

  TempDirectory directory_;
};

Problems Disk::Commit(Open& open, const std::vector<pb::EditOperation>& operations) {
  Draft draft = open.datastore.NewDraft();
  if (Problems problems = ApplyEdits(TheModel(), draft, EditOf(operations)); !problems.empty()) {
    return problems;
  }
  auto prepared = open.datastore.Prepare(std::move(draft));
  return prepared ? open.datastore.Publish(*prepared) : prepared.Why();
}

const std::string kLevel = std::string(kEast) + "/level";
const std::string kAlarm = std::string(kCheck5) + "/fault-alarm-time";

TEST_F(Disk, WhatIsCommittedIsThereAfterReopening) {
  std::string text;
  {
    Open open(File());
    EXPECT_THAT(Texts(Commit(open, {Document(EastDocument())})), IsEmpty());
    EXPECT_THAT(Texts(Commit(open, {SetLeaf(kAlarm, "3000"), SetLeaf(kLevel, "6")})), IsEmpty());
    text = open.Text();
    EXPECT_THAT(text, AllOf(HasSubstr("3000"), HasSubstr("east")));
  }
  const Open open(File());
  EXPECT_EQ(open.Text(), text);
  EXPECT_EQ(open.datastore.Running()->Txid(), 2U);
}

TEST_F(Disk, WhatIsDeletedStaysDeleted) {
  {
    Open open(File());
    // A name that begins like the other's must not go with it.
    EXPECT_THAT(Texts(Commit(open, {Document(EastDocument()),
                                    Document(Replaced(EastDocument(), "east", "east/0")),
                                    SetLeaf(kAlarm, "3000")})),
                IsEmpty());
    EXPECT_THAT(Texts(Commit(open, {Operation(pb::EditOperation::DELETE, kEast)})), IsEmpty());
  }
  const Open open(File());
  EXPECT_THAT(open.Text(), AllOf(HasSubstr("east/0"), ::testing::Not(HasSubstr("\"east\""))));
}

TEST_F(Disk, NamesWithQuotesAndBlanksComeBack) {
  const std::string path = R"(/config/oam/cfm/md[id="it's [a] ""name"" / x"])";
  {
    Open open(File());
    EXPECT_THAT(Texts(Commit(open, {SetLeaf(path + "/level", "1")})), IsEmpty());
  }
  const Open open(File());
  EXPECT_THAT(open.Text(), HasSubstr(R"(it's [a] \"name\" / x)"));
}

TEST_F(Disk, ADefaultThatWasSaidIsStillSaidAfterReopening) {
  const auto explicit_alarm = [](const Open& open) {
    pb::Get get;
    get.set_format(pb::FORMAT_JSON);
    pb::Reply reply;
    static_cast<void>(Render(TheModel(), open.datastore.Running()->Top(), get, reply));
    return reply.document().find("fault-alarm-time") != std::string::npos;
  };
  {
    Open open(File());
    EXPECT_THAT(Texts(Commit(open, {Document(EastDocument()), SetLeaf(kAlarm, "2500")})),
                IsEmpty());
  }
  {
    Open open(File());
    EXPECT_TRUE(explicit_alarm(open));
    EXPECT_THAT(Texts(Commit(open, {Operation(pb::EditOperation::DELETE, kAlarm)})), IsEmpty());
  }
  const Open open(File());
  EXPECT_FALSE(explicit_alarm(open));
}

TEST_F(Disk, ACommitThatChangesNoValueKeepsTheTransactionId) {
  {
    Open open(File());
    EXPECT_THAT(Texts(Commit(open, {Document(EastDocument())})), IsEmpty());
    EXPECT_THAT(Texts(Commit(open, {SetLeaf(kAlarm, "2500")})), IsEmpty());
    EXPECT_EQ(open.datastore.Running()->Txid(), 1U);
  }
  Open open(File());
  EXPECT_EQ(open.datastore.Running()->Txid(), 1U);
  EXPECT_THAT(Texts(Commit(open, {SetLeaf(kAlarm, "3000")})), IsEmpty());
  EXPECT_EQ(open.datastore.Running()->Txid(), 2U);
}

TEST_F(Disk, AFullDiskRefusesTheCommitAndTheNextOneWorks) {
  FaultyDisk disk;
  Open open(File());
  ASSERT_THAT(Texts(Commit(open, {Document(EastDocument())})), IsEmpty());
  const std::string before = open.Text();

  disk.FailWrites(SQLITE_FULL);
  const Problems problems = Commit(open, {SetLeaf(kLevel, "6")});
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_THAT(problems.front().message,
              AllOf(HasSubstr(File().native()), HasSubstr("full"), HasSubstr("make room"),
                    HasSubstr("nothing was changed")));
  EXPECT_EQ(open.Text(), before);
  EXPECT_EQ(open.datastore.Running()->Txid(), 1U);

  disk.FailWrites(SQLITE_OK);
  EXPECT_THAT(Texts(Commit(open, {SetLeaf(kLevel, "6")})), IsEmpty());
  EXPECT_EQ(open.datastore.Running()->Txid(), 2U);
}

TEST_F(Disk, AFailingSyncRefusesTheCommit) {
  FaultyDisk disk;
  Open open(File());
  ASSERT_THAT(Texts(Commit(open, {Document(EastDocument())})), IsEmpty());
  disk.FailSyncs(SQLITE_IOERR_FSYNC);
  const Problems problems = Commit(open, {SetLeaf(kLevel, "6")});
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_THAT(problems.front().message, AllOf(HasSubstr("disk I/O error"), HasSubstr("the disk")));
  disk.FailSyncs(SQLITE_OK);
  EXPECT_THAT(Texts(Commit(open, {SetLeaf(kLevel, "6")})), IsEmpty());
}

// What the next agentd finds when this one dies now.
TEST_F(Disk, ACommitThatAFailingSyncRefusedDoesNotComeToLightAfterAnEnd) {
  FaultyDisk disk;
  Open open(File());
  ASSERT_THAT(Texts(Commit(open, {Document(EastDocument())})), IsEmpty());
  const std::string before = open.Text();
  disk.FailSyncs(SQLITE_IOERR_FSYNC);
  ASSERT_EQ(Commit(open, {SetLeaf(kLevel, "6"), SetLeaf(kAlarm, "5000")}).size(), 1U);

  const std::filesystem::path found = directory_ / "found.db";
  for (const char* suffix : {"", "-wal"}) {
    std::filesystem::copy_file(File().native() + suffix, found.native() + suffix);
  }
  disk.FailSyncs(SQLITE_OK);
  const Open next(found);
  EXPECT_EQ(next.Text(), before);
  EXPECT_EQ(next.datastore.Running()->Txid(), 1U);
}

// Whoever moves the file away then loses the configuration for nothing.
TEST_F(Disk, AFullDiskIsNoReasonToGiveTheFileUp) {
  FaultyDisk disk;
  disk.FailWrites(SQLITE_FULL);
  EXPECT_THAT(WhyNot(File()), AllOf(HasSubstr("full"), HasSubstr("make room on the file system"),
                                    testing::Not(HasSubstr("move it away"))));
}

TEST_F(Disk, AFileThatIsNoDatabaseIsRefused) {
  std::ofstream(File()) << "This has never been a database, whatever its name may say.\n"
                        << std::string(4096, 'x');
  EXPECT_THAT(WhyNot(File()), AllOf(HasSubstr(File().native()), HasSubstr("move it away")));
}

TEST_F(Disk, ADatabaseOfAnotherProgramIsRefused) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(File().c_str(), &database), SQLITE_OK);
  sqlite3_exec(database, "CREATE TABLE guest(name)", nullptr, nullptr, nullptr);
  sqlite3_close(database);
  EXPECT_THAT(WhyNot(File()), HasSubstr("another program's"));
}

TEST_F(Disk, ADamagedDatabaseIsRefused) {
  {
    Open open(File());
    std::vector<pb::EditOperation> edits;
    for (int i = 0; i < 300; ++i) {
      edits.push_back(SetLeaf("/config/oam/cfm/md[id='md" + std::to_string(i) + "']/level", "1"));
    }
    EXPECT_THAT(Texts(Commit(open, edits)), IsEmpty());
  }
  const auto size = std::filesystem::file_size(File());
  ASSERT_GT(size, 3U * 4096U);
  std::fstream file(File(), std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(4096);
  file << std::string(size - 4096, '\x5a');
  file.close();
  EXPECT_THAT(WhyNot(File()), AllOf(HasSubstr(File().native()), HasSubstr("good copy")));
}

TEST_F(Disk, AConfigurationThatTheModelNoLongerAcceptsIsRefused) {
  {
    Open open(File());
    EXPECT_THAT(Texts(Commit(open, {Document(EastDocument())})), IsEmpty());
  }
  const auto change = [this](const std::string& sql) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(File().c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  };
  change("UPDATE node SET value = '9' WHERE path LIKE '%/level'");
  EXPECT_THAT(WhyNot(File()), AllOf(HasSubstr("does not accept"), HasSubstr(kLevel)));
  change("DELETE FROM node WHERE path LIKE '%/level'");
  EXPECT_THAT(WhyNot(File()), HasSubstr("'level' is missing"));
  change("INSERT INTO node VALUES('/config/oam/cfm/colour', 'red')");
  EXPECT_THAT(WhyNot(File()), HasSubstr("the model has no 'colour'"));
}

TEST_F(Disk, ADirectoryThatDoesNotExistIsRefused) {
  EXPECT_THAT(WhyNot(directory_ / "no/such/running.db"), HasSubstr("--state-dir"));
}

}  // namespace
}  // namespace agentd::test
