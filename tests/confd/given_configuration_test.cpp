// Sessions of callbacks, with the configuration that came with the batch.
#include <confd_internal.h>
#include <gmock/gmock.h>

#include "confd/connected.h"
#include "confd/data_agent.h"
#include "confd/data_tree.h"
#include "confd/provider_program.h"

namespace {

using test::BatchOf;
using test::Connected;
using test::Container;
using test::Entry;
using test::FakeAgent;
using test::GetElem;
using test::Int32;
using test::Leaf;
using test::LevelOfLocal;
using test::ReplyInt32;
using test::Text;
using testing::ElementsAre;
using testing::IsEmpty;

// What comes with the batch and what the agent answers to a Fetch differ, so
// that it shows which of them was read.
constexpr std::int32_t kGiven = 3;
constexpr std::int32_t kFetched = 5;

cfm::agent::DataNode Md(const std::string& name, std::int32_t level) {
  auto md = Entry("md", {Text(name)}, {Leaf("id", Text(name)), Leaf("level", Int32(level))});
  md.set_coverage(cfm::agent::DataNode::OWN_NODES);
  return md;
}

cfm::agent::DataNode AgentsTree() {
  return Container("config", {Md("east", kFetched), Md("west", kFetched)});
}

// As if more entries were there than stand here.
cfm::agent::DataNode GivenTree() {
  auto tree = Container("config", {Md("east", kGiven)});
  tree.set_coverage(cfm::agent::DataNode::SOME_ENTRIES);
  tree.add_list_sizes()->set_name("md");
  tree.mutable_list_sizes(0)->set_entries(2);
  return tree;
}

class GivenConfiguration : public testing::Test {
 protected:
  GivenConfiguration()
      : agent_([this](int fd) { ServeAndNote(fd); }),
        program_(agent_),
        data_(std::in_place, agent_.Listener(), CDB_DATA_SOCKET) {
    agent_.Init(1);
    EXPECT_EQ(program_.WorkControl(), CONFD_OK);
    agent_.Take(agent_.Control());
  }

  // The data connection: each request is noted.
  void ServeAndNote(int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA, test::ModelNames());
    while (const auto request = test::TakeRequest(fd)) {
      switch (request->request_case()) {
        case cfm::agent::Request::kStartSession:
          noted_.emplace_back("start");
          if (request->start_session().flags() != 0) {
            test::Answer(fd, {});
          }
          break;
        case cfm::agent::Request::kEndSession:
          noted_.emplace_back("end");
          break;
        case cfm::agent::Request::kFetch: {
          noted_.emplace_back("fetch");
          cfm::agent::Reply reply;
          *reply.mutable_data() = AgentsTree();
          test::Answer(fd, reply);
          break;
        }
        case cfm::agent::Request::kGetTxid:
          noted_.emplace_back("txid");
          test::Answer(fd, {});
          break;
        default:
          noted_.emplace_back("write");
          test::Answer(fd, {});
      }
    }
  }
  // What the data connection has seen.
  std::vector<std::string> Noted() {
    data_.reset();
    EXPECT_EQ(agent_.Finish(), "");
    return noted_;
  }

  int Data() const { return data_->Fd(); }
  std::int32_t Level(const char* md) {
    std::int32_t level = -1;
    cdb_get_int32(Data(), &level, "/config/md{%s}/level", md);
    return level;
  }

  // Works a batch of so many reads with the given configuration; each does
  // `look` in a session and answers with the number.
  std::vector<cfm::agent::ProviderReply> Read(int reads, const std::function<int()>& look) {
    return ReadOwnSession(reads, [&] {
      EXPECT_EQ(cdb_start_session(Data(), CDB_RUNNING), CONFD_OK);
      const int number = look();
      EXPECT_EQ(cdb_end_session(Data()), CONFD_OK);
      return number;
    });
  }
  std::vector<cfm::agent::ProviderReply> ReadOwnSession(int reads,
                                                        const std::function<int()>& look) {
    program_.does.get_elem = [&](confd_trans_ctx* transaction, confd_hkeypath_t*) {
      return ReplyInt32(transaction, look());
    };
    std::vector<cfm::agent::ProviderRequest> requests(static_cast<std::size_t>(reads),
                                                      GetElem(1, "level", LevelOfLocal(3)));
    auto batch = BatchOf(requests);
    *batch.add_configuration() = GivenTree();
    agent_.Ask(batch);
    EXPECT_EQ(program_.WorkWorker(), CONFD_OK) << confd_lasterr();
    return agent_.TakeTogether();
  }

  std::vector<std::string> noted_;  // the agent's thread's until it has finished
  test::ProviderAgent agent_;
  test::Program program_;
  std::optional<Connected> data_;
};

TEST_F(GivenConfiguration, IsReadWithoutAWordToTheAgent) {
  const auto replies = Read(2, [this] { return Level("east"); });
  EXPECT_EQ(replies[0].value().number(), kGiven);
  EXPECT_EQ(replies[1].value().number(), kGiven);
  EXPECT_THAT(Noted(), IsEmpty());
}

TEST_F(GivenConfiguration, TellsWhatIsAbsentInIt) {
  Read(1, [this] {
    EXPECT_EQ(cdb_exists(Data(), "/config/md{%s}/ccm-interval", "east"), 0);
    EXPECT_EQ(cdb_exists(Data(), "/config/md{%s}", "east"), 1);
    EXPECT_EQ(cdb_num_instances(Data(), "/config/md"), 2);
    std::int32_t value = 0;
    EXPECT_EQ(cdb_get_enum_value(Data(), &value, "/config/md{%s}/ccm-interval", "east"), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS);
    return 0;
  });
  EXPECT_THAT(Noted(), IsEmpty());
}

TEST_F(GivenConfiguration, WhatItLeavesOpenIsFetchedOnceForTheWholeBatch) {
  const auto replies = Read(3, [this] { return Level("west"); });
  EXPECT_EQ(replies[0].value().number(), kFetched);
  EXPECT_EQ(replies[2].value().number(), kFetched);
  EXPECT_THAT(Noted(), ElementsAre("start", "fetch", "end"));
}

TEST_F(GivenConfiguration, IsGoneWithItsBatch) {
  Read(1, [this] { return Level("east"); });
  ASSERT_EQ(cdb_start_session(Data(), CDB_RUNNING), CONFD_OK);
  EXPECT_EQ(Level("east"), kFetched);
  ASSERT_EQ(cdb_end_session(Data()), CONFD_OK);
  EXPECT_THAT(Noted(), ElementsAre("start", "fetch", "end"));
}

// Until the replies are sent the agent makes no commit.
TEST_F(GivenConfiguration, ASessionThatOutlivesTheBatchIsBegunBeforeTheReplies) {
  const std::uint64_t before = confd_round_trips();
  ReadOwnSession(1, [this] {
    EXPECT_EQ(cdb_start_session(Data(), CDB_RUNNING), CONFD_OK);
    return Level("east");
  });
  EXPECT_EQ(confd_round_trips() - before, 2U);  // the batch, and the agent's word
  EXPECT_EQ(Level("east"), kGiven);             // it goes on with what it has seen
  EXPECT_EQ(cdb_end_session(Data()), CONFD_OK);
  EXPECT_THAT(Noted(), ElementsAre("start", "txid", "end"));
}

TEST_F(GivenConfiguration, ASessionWithALockBeginsAtTheAgent) {
  ReadOwnSession(1, [this] {
    EXPECT_EQ(cdb_start_session2(Data(), CDB_RUNNING, CDB_LOCK_SESSION), CONFD_OK);
    EXPECT_EQ(Level("east"), kFetched);
    EXPECT_EQ(cdb_end_session(Data()), CONFD_OK);
    return 0;
  });
  EXPECT_THAT(Noted(), ElementsAre("start", "fetch", "end"));
}

// It may withdraw all for which a commit waits.
TEST_F(GivenConfiguration, ADeletionEndsItsUse) {
  FakeAgent other({[](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    while (const auto request = test::TakeRequest(fd)) {
      if (request->has_operational_write()) {
        test::Answer(fd, {});
      }
    }
  }});
  const Connected writer(other, CDB_DATA_SOCKET);
  ReadOwnSession(1, [&] {
    EXPECT_EQ(cdb_start_session(Data(), CDB_RUNNING), CONFD_OK);
    EXPECT_EQ(Level("east"), kGiven);
    EXPECT_EQ(cdb_start_session(writer.Fd(), CDB_OPERATIONAL), CONFD_OK);
    EXPECT_EQ(cdb_delete(writer.Fd(), "/status/oam/cfm/local[%d]", 0), CONFD_OK);
    EXPECT_EQ(Level("east"), kGiven);
    EXPECT_EQ(cdb_end_session(Data()), CONFD_OK);
    EXPECT_EQ(cdb_start_session(Data(), CDB_RUNNING), CONFD_OK);
    EXPECT_EQ(Level("east"), kFetched);
    EXPECT_EQ(cdb_end_session(Data()), CONFD_OK);
    return 0;
  });
  EXPECT_THAT(Noted(), ElementsAre("start", "txid", "end", "start", "fetch", "end"));
}

TEST_F(GivenConfiguration, IsNotThatOfAnotherAgent) {
  FakeAgent other({test::ServeData(AgentsTree())});
  const Connected elsewhere(other, CDB_DATA_SOCKET);
  ReadOwnSession(1, [&] {
    EXPECT_EQ(cdb_start_session(elsewhere.Fd(), CDB_RUNNING), CONFD_OK);
    std::int32_t level = 0;
    EXPECT_EQ(cdb_get_int32(elsewhere.Fd(), &level, "/config/md{east}/level"), CONFD_OK);
    EXPECT_EQ(level, kFetched);
    EXPECT_EQ(cdb_end_session(elsewhere.Fd()), CONFD_OK);
    return 0;
  });
}

TEST_F(GivenConfiguration, TheAgentLearnsWhichReadsLookAtIt) {
  int read = 0;
  const auto replies = Read(4, [&] {
    switch (read++) {
      case 0:
        return Level("east");
      case 1:
        return 0;  // opens a session and looks at nothing
      case 2:
        return Level("west");
      default:
        return cdb_exists(Data(), "/config/md{east}");
    }
  });
  ASSERT_EQ(replies.size(), 4U);
  EXPECT_TRUE(replies[0].reads_configuration());
  EXPECT_FALSE(replies[1].reads_configuration());
  EXPECT_TRUE(replies[2].reads_configuration());
  EXPECT_TRUE(replies[3].reads_configuration());
}

TEST_F(GivenConfiguration, ADeadAgentShowsAtTheBeginningOfASession) {
  EXPECT_EQ(agent_.Finish(), "");
  ReadOwnSession(1, [this] {
    EXPECT_EQ(cdb_start_session(Data(), CDB_RUNNING), CONFD_EOF);
    return 0;
  });
}

}  // namespace
