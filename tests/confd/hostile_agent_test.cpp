// An agent that dies or talks nonsense costs a call, never the program.
#include <confd_cdb.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include "confd/connected.h"
#include "confd/data_tree.h"
#include "confd/fake_agent.h"
#include "frame.h"

namespace {

using test::FakeAgent;
using testing::HasSubstr;

// Welcomes, takes the requests up to and with the first Fetch, then does
// `answer`.
FakeAgent::Script AnswerFetchWith(std::function<void(int)> answer) {
  return [answer](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    while (const auto request = test::TakeRequest(fd)) {
      if (request->has_fetch()) {
        answer(fd);
        return;
      }
    }
  };
}

struct Outcome {
  int result;
  int code;
  std::string text;
};

// The first and the second read on a connection whose Fetch is answered so.
std::pair<Outcome, Outcome> ReadTwice(std::function<void(int)> answer) {
  FakeAgent agent({AnswerFetchWith(std::move(answer))});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  EXPECT_EQ(cdb_start_session(socket.Fd(), CDB_RUNNING), CONFD_OK);
  const auto read = [&] {
    confd_value_t value;
    const int result = cdb_get(socket.Fd(), &value, "/config/md{%s}/level", "east");
    return Outcome{result, confd_errno, confd_lasterr()};
  };
  const Outcome first = read();
  return {first, read()};
}

TEST(HostileAgent, DyingInTheMiddleOfACallIsTheEndOfTheConnection) {
  const auto [first, second] = ReadTwice([](int) {});
  EXPECT_EQ(first.result, CONFD_EOF);
  EXPECT_EQ(first.text, "/config/md{east}/level: the agent has closed the connection");
  EXPECT_EQ(second.result, CONFD_EOF);
}

TEST(HostileAgent, ACutOffFrameEndsTheConnection) {
  const auto [first, second] =
      ReadTwice([](int fd) { test::SendRaw(fd, std::string("\0\0\1\0half", 8)); });
  EXPECT_EQ(first.result, CONFD_ERR);
  EXPECT_EQ(first.code, CONFD_ERR_PROTOUSAGE);
  EXPECT_EQ(second.result, CONFD_EOF);
}

TEST(HostileAgent, AnOversizedFrameEndsTheConnection) {
  const auto [first, second] =
      ReadTwice([](int fd) { test::SendRaw(fd, std::string("\xff\xff\xff\xff", 4)); });
  EXPECT_EQ(first.result, CONFD_ERR);
  EXPECT_THAT(first.text, HasSubstr("4294967295 bytes"));
  EXPECT_EQ(second.result, CONFD_EOF);
}

TEST(HostileAgent, BytesThatAreNoMessageEndTheConnection) {
  const auto [first, second] =
      ReadTwice([](int fd) { test::SendRaw(fd, std::string("\0\0\0\3\xff\xff\xff", 7)); });
  EXPECT_EQ(first.result, CONFD_ERR);
  EXPECT_EQ(second.result, CONFD_EOF);
}

TEST(HostileAgent, ANotificationInsteadOfAReplyEndsTheConnection) {
  const auto [first, second] =
      ReadTwice([](int fd) { test::Notify(fd, cfm::agent::Notification()); });
  EXPECT_EQ(first.result, CONFD_ERR);
  EXPECT_EQ(second.result, CONFD_EOF);
}

TEST(HostileAgent, DataOfSomethingElseEndsTheConnection) {
  const auto [first, second] = ReadTwice([](int fd) {
    cfm::agent::Reply reply;
    *reply.mutable_data() = test::Container("status", {});
    test::Answer(fd, reply);
  });
  EXPECT_EQ(first.result, CONFD_ERR);
  EXPECT_THAT(first.text, HasSubstr("/config/md{east}/level: data of status"));
  EXPECT_EQ(second.result, CONFD_EOF);
}

TEST(HostileAgent, DataThatLeavesTheQuestionOpenEndsTheConnection) {
  const auto [first, second] = ReadTwice([](int fd) {
    cfm::agent::Reply reply;
    *reply.mutable_data() = test::Container("config", {});
    test::Answer(fd, reply);
  });
  EXPECT_EQ(first.result, CONFD_ERR);
  EXPECT_THAT(first.text, HasSubstr("leaves open"));
  EXPECT_EQ(second.result, CONFD_EOF);
}

TEST(HostileAgent, AValueOfNoTypeEndsTheConnection) {
  const auto [first, second] = ReadTwice([](int fd) {
    cfm::agent::Reply reply;
    auto& config = *reply.mutable_data();
    config = test::Container("config", {test::Entry("md", {test::Text("east")},
                                                    {test::Leaf("level", test::Number(99, 0))})});
    config.set_coverage(cfm::agent::DataNode::EVERYTHING);
    test::Answer(fd, reply);
  });
  EXPECT_EQ(first.result, CONFD_ERR);
  EXPECT_THAT(first.text, HasSubstr("type 99"));
  EXPECT_EQ(second.result, CONFD_EOF);
}

TEST(HostileAgent, ARefusalOfARequestKeepsTheConnection) {
  FakeAgent agent({[](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    while (const auto request = test::TakeRequest(fd)) {
      cfm::agent::Reply reply;
      if (request->has_fetch()) {
        reply.add_errors()->set_message("not now");
      }
      if (!request->has_start_session()) {
        test::Answer(fd, reply);
      }
    }
  }});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  ASSERT_EQ(cdb_start_session(socket.Fd(), CDB_RUNNING), CONFD_OK);
  EXPECT_EQ(cdb_exists(socket.Fd(), "/config"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_EXTERNAL);
  EXPECT_STREQ(confd_lasterr(), "/config: not now");
  cdb_txid txid;
  EXPECT_EQ(cdb_get_txid(socket.Fd(), &txid), CONFD_OK);
}

// Waits until the peer has closed or sent something.
void AwaitReadable(int fd) {
  pollfd state{fd, POLLIN | POLLRDHUP, 0};
  ASSERT_EQ(poll(&state, 1, 30000), 1);
}

TEST(HostileAgent, ASessionOnADeadConnectionFailsAtOnce) {
  FakeAgent agent({[](int fd) { test::Welcome(fd, cfm::agent::ROLE_CDB_DATA); }});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  AwaitReadable(socket.Fd());
  EXPECT_EQ(cdb_start_session(socket.Fd(), CDB_RUNNING), CONFD_EOF);
  EXPECT_EQ(cdb_start_session(socket.Fd(), CDB_RUNNING), CONFD_EOF);
  EXPECT_EQ(socket.Close(), CONFD_OK);
}

TEST(HostileAgent, AMessageThatNobodyAskedForEndsTheConnection) {
  FakeAgent agent({[](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    test::Answer(fd, cfm::agent::Reply());
    test::AwaitClose(fd);
  }});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  AwaitReadable(socket.Fd());
  EXPECT_EQ(cdb_start_session(socket.Fd(), CDB_RUNNING), CONFD_ERR);
  EXPECT_EQ(cdb_start_session(socket.Fd(), CDB_RUNNING), CONFD_EOF);
}

TEST(HostileAgent, DyingWhileASessionIsOpenShowsAtItsEndOrTheNextRead) {
  FakeAgent agent({[](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    test::TakeRequest(fd);
  }});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  ASSERT_EQ(cdb_start_session(socket.Fd(), CDB_RUNNING), CONFD_OK);
  AwaitReadable(socket.Fd());
  EXPECT_EQ(cdb_exists(socket.Fd(), "/config"), CONFD_EOF);
  EXPECT_EQ(cdb_end_session(socket.Fd()), CONFD_EOF);
}

}  // namespace
