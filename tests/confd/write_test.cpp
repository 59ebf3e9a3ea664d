// Writes of operational data, and what a session reads between them.
#include <confd_cdb.h>
#include <confd_internal.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "confd/connected.h"
#include "confd/data_tree.h"
#include "confd/fake_agent.h"

namespace {

using cfm::agent::OperationalWrite;
using test::FakeAgent;
using testing::HasSubstr;

// Keeps the writes, refuses those that the test wants refused, and has as many
// local entries as were created.
class Write : public testing::Test {
 protected:
  Write() : agent_({[this](int fd) { Serve(fd); }}), socket_(agent_, CDB_DATA_SOCKET) {}

  void Start(cdb_db_type database = CDB_OPERATIONAL) {
    ASSERT_EQ(cdb_start_session(Fd(), database), CONFD_OK);
  }
  int Fd() const { return socket_.Fd(); }
  // The agent's thread has written it before it answered.
  const OperationalWrite& Last() const { return last_; }
  void RefuseNext(int code, const char* text) {
    refusal_.set_code(code);
    refusal_.set_message(text);
    refuses_ = true;
  }

 private:
  void Serve(int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    int entries = 0;
    while (const auto request = test::TakeRequest(fd)) {
      cfm::agent::Reply reply;
      if (request->has_operational_write()) {
        last_ = request->operational_write();
        entries += last_.operation() == OperationalWrite::CREATE ? 1 : 0;
        if (refuses_.exchange(false)) {
          *reply.add_errors() = refusal_;
        }
      } else if (request->has_fetch()) {
        test::Nodes nodes;
        for (int key = 0; key < entries; ++key) {
          nodes.push_back(test::Entry("local", {test::Number(C_INT64, key)}, {}));
        }
        *reply.mutable_data() = test::Container("status", nodes);
        reply.mutable_data()->set_coverage(cfm::agent::DataNode::EVERYTHING);
      } else {
        continue;
      }
      test::Answer(fd, reply);
    }
  }

  OperationalWrite last_;
  cfm::agent::Error refusal_;
  std::atomic<bool> refuses_ = false;
  FakeAgent agent_;
  test::Connected socket_;
};

confd_value_t Key(std::int64_t number) {
  confd_value_t key;
  CONFD_SET_INT64(&key, number);
  return key;
}

TEST_F(Write, ACreateNamesTheEntryByItsTypedKey) {
  Start();
  const confd_value_t key = Key(12);
  ASSERT_EQ(cdb_create(Fd(), "/status/oam/cfm/local{%x}/", &key), CONFD_OK);
  EXPECT_EQ(Last().operation(), OperationalWrite::CREATE);
  ASSERT_EQ(Last().path().steps_size(), 4);
  EXPECT_EQ(Last().path().steps(3).name(), "local");
  EXPECT_EQ(Last().path().steps(3).keys(0).type(), C_INT64);
  EXPECT_EQ(Last().path().steps(3).keys(0).number(), 12);
}

TEST_F(Write, ASetCarriesTheValue) {
  Start();
  const confd_value_t key = Key(12);
  confd_value_t value;
  CONFD_SET_STR(&value, "east");
  ASSERT_EQ(cdb_set_elem(Fd(), &value, "/status/oam/cfm/local{%x}/md", &key), CONFD_OK);
  EXPECT_EQ(Last().operation(), OperationalWrite::SET);
  EXPECT_EQ(Last().path().steps(4).name(), "md");
  EXPECT_EQ(Last().value().type(), C_BUF);
  EXPECT_EQ(Last().value().text(), "east");
  CONFD_SET_ENUM_VALUE(&value, 3);
  ASSERT_EQ(cdb_set_elem(Fd(), &value, "/status/oam/cfm/local{%x}/tx-rdi", &key), CONFD_OK);
  EXPECT_EQ(Last().value().type(), C_ENUM_VALUE);
  EXPECT_EQ(Last().value().number(), 3);
}

TEST_F(Write, ADeleteNamesAKeyOrAPosition) {
  Start();
  const confd_value_t key = Key(-1);
  ASSERT_EQ(cdb_delete(Fd(), "/status/oam/cfm/local{%x}/", &key), CONFD_OK);
  EXPECT_EQ(Last().operation(), OperationalWrite::DELETE);
  EXPECT_EQ(Last().path().steps(3).keys(0).number(), -1);
  ASSERT_EQ(cdb_delete(Fd(), "/status/oam/cfm/remote[%d]", 4), CONFD_OK);
  EXPECT_TRUE(Last().path().steps(3).has_position());
  EXPECT_EQ(Last().path().steps(3).position(), 4U);
}

TEST_F(Write, EachCallHasItsOwnResult) {
  Start();
  RefuseNext(CONFD_ERR_ALREADY_EXISTS, "it is there");
  EXPECT_EQ(cdb_create(Fd(), "/status/local{%d}", 1), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_ALREADY_EXISTS);
  EXPECT_STREQ(confd_lasterr(), "/status/local{1}: it is there");
  EXPECT_EQ(cdb_create(Fd(), "/status/local{%d}", 2), CONFD_OK);
  RefuseNext(CONFD_ERR_NOEXISTS, "gone");
  EXPECT_EQ(cdb_delete(Fd(), "/status/local{%d}", 2), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS);
}

TEST_F(Write, NeedsASessionOnTheOperationalDatastore) {
  EXPECT_EQ(cdb_create(Fd(), "/status/local{%d}", 1), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOSESSION);
  Start(CDB_RUNNING);
  EXPECT_EQ(cdb_delete(Fd(), "/status/local{%d}", 1), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOT_WRITABLE);
}

TEST_F(Write, RefusesAValueThatIsNone) {
  Start();
  confd_value_t value;
  CONFD_SET_NOEXISTS(&value);
  EXPECT_EQ(cdb_set_elem(Fd(), &value, "/status/x"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADTYPE);
  CONFD_SET_STR(&value, nullptr);
  EXPECT_EQ(cdb_set_elem(Fd(), &value, "/status/x"), CONFD_ERR);
  CONFD_SET_BUF(&value, nullptr, 3);
  EXPECT_EQ(cdb_set_elem(Fd(), &value, "/status/x"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADTYPE);
  EXPECT_EQ(cdb_set_elem(Fd(), nullptr, "/status/x"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
}

TEST_F(Write, ASessionReadsWhatItHasJustWritten) {
  Start();
  const confd_value_t key = Key(1);
  EXPECT_EQ(cdb_num_instances(Fd(), "/status/local"), 0);
  EXPECT_EQ(cdb_create(Fd(), "/status/local{%x}", &key), CONFD_OK);
  EXPECT_EQ(cdb_num_instances(Fd(), "/status/local"), 1);
  EXPECT_EQ(cdb_exists(Fd(), "/status/local{%x}", &key), 0);
  EXPECT_EQ(cdb_create(Fd(), "/status/local{%x}", &key), CONFD_OK);
  EXPECT_EQ(cdb_exists(Fd(), "/status/local{%x}", &key), 1);
  EXPECT_EQ(cdb_num_instances(Fd(), "/status/local"), 2);
}

TEST_F(Write, EachWriteIsOneRoundTrip) {
  Start();
  const auto before = confd_round_trips();
  EXPECT_EQ(cdb_create(Fd(), "/status/local{%d}", 1), CONFD_OK);
  EXPECT_EQ(cdb_delete(Fd(), "/status/local{%d}", 1), CONFD_OK);
  EXPECT_EQ(confd_round_trips() - before, 2U);
}

}  // namespace
