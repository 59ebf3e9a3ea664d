// Writes that are sure to succeed travel together, and only those.
#include <confd_cdb.h>
#include <confd_internal.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "confd/connected.h"
#include "confd/data_tree.h"
#include "confd/fake_agent.h"
#include "confd_client/path.h"

namespace {

using cfm::agent::OperationalWrite;
using cfm::agent::Request;
using test::FakeAgent;
using testing::ElementsAre;
using testing::HasSubstr;

cfm::agent::WritableLeaf LeafOf(const std::string& name, std::uint32_t type,
                                const std::vector<std::int64_t>& numbers = {}) {
  cfm::agent::WritableLeaf leaf;
  leaf.set_name(name);
  leaf.set_type(type);
  leaf.set_takes_all(numbers.empty());
  for (const std::int64_t number : numbers) {
    leaf.add_numbers(number);
  }
  return leaf;
}

std::string TextOf(const OperationalWrite& write) {
  static const char* const kOperations[] = {"create", "set", "delete"};
  std::string text = kOperations[write.operation()];
  const auto& last = write.path().steps(write.path().steps_size() - 1);
  return text + " " + last.name() + (write.tell_leaves() ? " tell" : "") +
         (write.hold() ? " hold" : "");
}

// What came in, one line a message.
std::string TextOf(const Request& request) {
  if (request.has_operational_write()) {
    return TextOf(request.operational_write());
  }
  if (request.has_deferred_writes()) {
    std::string text = "deferred:";
    for (const auto& write : request.deferred_writes().writes()) {
      text += " " + TextOf(write);
    }
    return text + (request.deferred_writes().wants_reply() ? " reply" : "");
  }
  return request.has_start_session() ? "start" : request.has_end_session() ? "end" : "fetch";
}

// Takes every write, tells of three leaves of the list `local`, and when it holds
// others off has as many entries left as the position that was deleted.
class DeferredWrite : public testing::Test {
 protected:
  DeferredWrite() : agent_({[this](int fd) { Serve(fd); }}), socket_(agent_, CDB_DATA_SOCKET) {
    CONFD_SET_INT64(&key_, 7);
    EXPECT_EQ(cdb_start_session(Fd(), CDB_OPERATIONAL), CONFD_OK);
  }

  int Fd() const { return socket_.Fd(); }
  int Create(const char* path = "/status/local{%x}") { return cdb_create(Fd(), path, &key_); }
  int SetText(const char* text, const char* path = "/status/local{%x}/md") {
    confd_value_t value;
    CONFD_SET_STR(&value, text);
    return cdb_set_elem(Fd(), &value, path, &key_);
  }
  int SetEnumeration(std::int32_t number) {
    confd_value_t value;
    CONFD_SET_ENUM_VALUE(&value, number);
    return cdb_set_elem(Fd(), &value, "/status/local{%x}/tx-rdi", &key_);
  }
  int SetInt32(std::int32_t number) {
    confd_value_t value;
    CONFD_SET_INT32(&value, number);
    return cdb_set_elem(Fd(), &value, "/status/local{%x}/mep", &key_);
  }
  int End() { return cdb_end_session(Fd()); }
  // All that came in, once the connection is over.
  std::vector<std::string> Received() {
    socket_.Close();
    EXPECT_EQ(agent_.Finish(), "");
    return received_;
  }

  confd_value_t key_{};

 private:
  void Serve(int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    while (const auto request = test::TakeRequest(fd)) {
      received_.push_back(TextOf(*request));
      cfm::agent::Reply reply;
      if (request->has_operational_write()) {
        if (request->operational_write().tell_leaves()) {
          *reply.add_leaves() = LeafOf("md", C_BUF);
          *reply.add_leaves() = LeafOf("tx-rdi", C_ENUM_VALUE, {0, 1});
          *reply.add_leaves() = LeafOf("mep", C_INT32);
        }
        if (request->operational_write().hold()) {
          const auto& path = request->operational_write().path();
          reply.set_held(true);
          reply.set_entries_left(path.steps(path.steps_size() - 1).position());
        }
        test::Answer(fd, reply);
      } else if (request->has_deferred_writes() && request->deferred_writes().wants_reply()) {
        test::Answer(fd, reply);
      } else if (request->has_fetch()) {
        *reply.mutable_data() = test::Container("status", {});
        reply.mutable_data()->set_coverage(cfm::agent::DataNode::EVERYTHING);
        test::Answer(fd, reply);
      }
    }
  }

  std::vector<std::string> received_;
  FakeAgent agent_;
  test::Connected socket_;
};

TEST_F(DeferredWrite, ANewEntryCostsOneRoundTrip) {
  const std::uint64_t before = confd_round_trips();
  EXPECT_EQ(Create(), CONFD_OK);
  EXPECT_EQ(SetText("east"), CONFD_OK);
  EXPECT_EQ(SetEnumeration(1), CONFD_OK);
  EXPECT_EQ(SetInt32(-5), CONFD_OK);
  EXPECT_EQ(End(), CONFD_OK);
  EXPECT_EQ(confd_round_trips() - before, 1U);
  EXPECT_THAT(Received(), ElementsAre("start", "create local tell",
                                      "deferred: set md set tx-rdi set mep", "end"));
}

TEST_F(DeferredWrite, AnEntryThatIsThereCostsOneRoundTrip) {
  const std::uint64_t before = confd_round_trips();
  EXPECT_EQ(SetText("east"), CONFD_OK);
  EXPECT_EQ(SetText("west"), CONFD_OK);
  EXPECT_EQ(End(), CONFD_OK);
  EXPECT_EQ(confd_round_trips() - before, 1U);
  EXPECT_THAT(Received(), ElementsAre("start", "set md tell", "deferred: set md", "end"));
}

TEST_F(DeferredWrite, TheLeavesAreAskedForOnceInTheLifeOfAConnection) {
  EXPECT_EQ(Create(), CONFD_OK);
  EXPECT_EQ(End(), CONFD_OK);
  EXPECT_EQ(cdb_start_session(Fd(), CDB_OPERATIONAL), CONFD_OK);
  EXPECT_EQ(SetText("east"), CONFD_OK);
  EXPECT_EQ(SetText("west"), CONFD_OK);
  EXPECT_EQ(End(), CONFD_OK);
  EXPECT_THAT(Received(), ElementsAre("start", "create local tell", "end", "start", "set md",
                                      "deferred: set md", "end"));
}

TEST_F(DeferredWrite, WhatMayFailIsAskedAtOnce) {
  EXPECT_EQ(Create(), CONFD_OK);
  EXPECT_EQ(SetEnumeration(2), CONFD_OK);                        // not among the numbers
  EXPECT_EQ(SetText("m\xc3\xa4rz"), CONFD_OK);                   // not ASCII
  EXPECT_EQ(SetText("bell\a"), CONFD_OK);                        // not printable
  EXPECT_EQ(SetText("1", "/status/local{%x}/mep"), CONFD_OK);    // another type
  EXPECT_EQ(SetText("x", "/status/local{%x}/other"), CONFD_OK);  // another leaf
  EXPECT_EQ(SetText("x", "/status/local{%x}/in/md"), CONFD_OK);  // further below
  EXPECT_THAT(Received(), ElementsAre("start", "create local tell", "set tx-rdi", "set md",
                                      "set md", "set mep", "set other", "set md"));
}

TEST_F(DeferredWrite, AnotherEntryIsAskedAtOnce) {
  EXPECT_EQ(Create(), CONFD_OK);
  CONFD_SET_INT64(&key_, 8);
  EXPECT_EQ(SetText("east"), CONFD_OK);
  EXPECT_EQ(SetText("west"), CONFD_OK);
  EXPECT_THAT(Received(), ElementsAre("start", "create local tell", "set md"));
}

TEST_F(DeferredWrite, AnEntryByPositionIsAskedAtOnce) {
  confd_value_t value;
  CONFD_SET_STR(&value, "east");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(cdb_set_elem(Fd(), &value, "/status/local[%d]/md", 3), CONFD_OK);
  }
  EXPECT_THAT(Received(), ElementsAre("start", "set md", "set md"));
}

TEST_F(DeferredWrite, AReadSendsThemFirst) {
  EXPECT_EQ(Create(), CONFD_OK);
  EXPECT_EQ(SetText("east"), CONFD_OK);
  EXPECT_EQ(cdb_num_instances(Fd(), "/status/local"), 0);
  EXPECT_THAT(Received(), ElementsAre("start", "create local tell", "deferred: set md", "fetch"));
}

TEST_F(DeferredWrite, ADeleteSendsThemFirstAndForgetsTheEntry) {
  EXPECT_EQ(Create(), CONFD_OK);
  EXPECT_EQ(SetText("east"), CONFD_OK);
  EXPECT_EQ(cdb_delete(Fd(), "/status/local{%x}", &key_), CONFD_OK);
  EXPECT_EQ(SetText("west"), CONFD_OK);
  EXPECT_THAT(Received(), ElementsAre("start", "create local tell", "deferred: set md",
                                      "delete local", "set md"));
}

TEST_F(DeferredWrite, AWipeFromTheEndOfAListTravelsTogether) {
  const std::uint64_t before = confd_round_trips();
  for (int position = 4; position >= 0; --position) {
    EXPECT_EQ(cdb_delete(Fd(), "/status/local[%d]", position), CONFD_OK);
  }
  EXPECT_EQ(End(), CONFD_OK);
  EXPECT_EQ(confd_round_trips() - before, 2U);
  EXPECT_THAT(
      Received(),
      ElementsAre("start", "delete local hold",
                  "deferred: delete local delete local delete local delete local reply", "end"));
}

TEST_F(DeferredWrite, ADeletionThatIsNotOfTheLastIsAskedAtOnce) {
  EXPECT_EQ(cdb_delete(Fd(), "/status/local[%d]", 4), CONFD_OK);
  EXPECT_EQ(cdb_delete(Fd(), "/status/local[%d]", 2), CONFD_OK);   // four are left
  EXPECT_EQ(cdb_delete(Fd(), "/status/remote[%d]", 3), CONFD_OK);  // of the other list
  EXPECT_EQ(cdb_delete(Fd(), "/status/local{%x}", &key_), CONFD_OK);
  EXPECT_EQ(cdb_delete(Fd(), "/status/local[%d]", 3), CONFD_OK);  // nothing is known any more
  EXPECT_THAT(Received(), ElementsAre("start", "delete local hold", "delete local hold",
                                      "delete remote hold", "delete local", "delete local hold"));
}

TEST_F(DeferredWrite, TheLastDeletionOfAListIsFollowedByNoOther) {
  for (int position = 4; position >= 0; --position) {
    EXPECT_EQ(cdb_delete(Fd(), "/status/local[%d]", position), CONFD_OK);
  }
  EXPECT_EQ(cdb_delete(Fd(), "/status/local[%d]", 0), CONFD_OK);
  EXPECT_EQ(cdb_num_instances(Fd(), "/status/local"), 0);
  EXPECT_THAT(Received(),
              ElementsAre("start", "delete local hold",
                          "deferred: delete local delete local delete local delete local reply",
                          "delete local hold", "fetch"));
}

TEST_F(DeferredWrite, ManyAreSentBeforeTheEnd) {
  EXPECT_EQ(Create(), CONFD_OK);
  for (int i = 0; i < 300; ++i) {
    EXPECT_EQ(SetInt32(i), CONFD_OK);
  }
  EXPECT_EQ(End(), CONFD_OK);
  EXPECT_EQ(Received().size(), 5U);
}

TEST_F(DeferredWrite, AnotherSessionKnowsNothingOfTheEntry) {
  EXPECT_EQ(Create(), CONFD_OK);
  EXPECT_EQ(End(), CONFD_OK);
  EXPECT_EQ(cdb_start_session(Fd(), CDB_OPERATIONAL), CONFD_OK);
  EXPECT_EQ(SetText("east"), CONFD_OK);
  EXPECT_THAT(Received(), ElementsAre("start", "create local tell", "end", "start", "set md"));
}

TEST(DeferredWriteAndADeadAgent, AreToldAtTheEndOfTheSession) {
  FakeAgent agent({[](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    test::TakeRequest(fd);
    test::TakeRequest(fd);
    cfm::agent::Reply reply;
    *reply.add_leaves() = LeafOf("md", C_BUF);
    test::Answer(fd, reply);
  }});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  ASSERT_EQ(cdb_start_session(socket.Fd(), CDB_OPERATIONAL), CONFD_OK);
  ASSERT_EQ(cdb_create(socket.Fd(), "/status/local{%d}", 1), CONFD_OK);
  EXPECT_EQ(agent.Finish(), "");
  confd_value_t value;
  CONFD_SET_STR(&value, "east");
  EXPECT_EQ(cdb_set_elem(socket.Fd(), &value, "/status/local{%d}/md", 1), CONFD_OK);
  EXPECT_EQ(cdb_end_session(socket.Fd()), CONFD_EOF);
}

}  // namespace
