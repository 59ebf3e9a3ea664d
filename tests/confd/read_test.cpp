#include <confd_cdb.h>
#include <confd_internal.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>

#include "confd/connected.h"
#include "confd/data_agent.h"
#include "confd/data_tree.h"
#include "confd/fake_agent.h"

namespace {

using test::Container;
using test::Entry;
using test::FakeAgent;
using test::Int32;
using test::Leaf;
using test::List;
using test::Number;
using test::Text;
using testing::HasSubstr;

cfm::agent::Value Empty() {
  auto value = Number(C_XMLTAG, 0);
  value.set_tag(0x313c47c3);
  value.set_ns(1);
  return value;
}

cfm::agent::DataNode Tree() {
  return Container(
      "config",
      {Entry("md", {Text("east")},
             {Leaf("id", Text("east")), Leaf("level", Int32(3)),
              Leaf("ccm-interval", Number(C_ENUM_VALUE, 2)), Leaf("cci-enabled", Empty()),
              Leaf("vlan-list", List({Int32(10), Int32(20)})), Leaf("remote-meps", List({})),
              Leaf("interface", Text("port one")), Leaf("direction", Number(C_INT64, 5)),
              Leaf("fault-action", Number(C_UINT16, 7)), Container("continuity-check", {})}),
       Entry("md", {Text("a}/x{")}, {Leaf("id", Text("a}/x{")), Leaf("level", Int32(5))}),
       Entry("md", {Text("say \"hi\" {")}, {Leaf("level", Int32(6))}),
       Entry("mep", {Number(C_INT64, 12)}, {Leaf("level", Int32(7))})});
}

class Read : public testing::Test {
 protected:
  Read() : agent_({test::ServeData(Tree())}), socket_(agent_, CDB_DATA_SOCKET) {
    EXPECT_EQ(cdb_start_session(socket_.Fd(), CDB_RUNNING), CONFD_OK);
  }

  int Fd() const { return socket_.Fd(); }

  int Level(const char* md) {
    std::int32_t level = -1;
    cdb_get_int32(Fd(), &level, "/config/md{%s}/level", md);
    return level;
  }

  FakeAgent agent_;
  test::Connected socket_;
};

TEST_F(Read, AStringComesWithANulAndIsTheCallers) {
  confd_value_t value;
  ASSERT_EQ(cdb_get(Fd(), &value, "/config/md{%s}/interface", "east"), CONFD_OK);
  ASSERT_EQ(value.type, C_BUF);
  EXPECT_EQ(CONFD_GET_BUFSIZE(&value), 8U);
  EXPECT_STREQ(CONFD_GET_CBUFPTR(&value), "port one");
  ASSERT_EQ(cdb_end_session(Fd()), CONFD_OK);
  EXPECT_STREQ(CONFD_GET_CBUFPTR(&value), "port one");
  confd_free_value(&value);
}

TEST_F(Read, AnExistingEmptyLeafIsATag) {
  confd_value_t value;
  ASSERT_EQ(cdb_get(Fd(), &value, "/config/md{east}/cci-enabled"), CONFD_OK);
  ASSERT_EQ(value.type, C_XMLTAG);
  EXPECT_EQ(CONFD_GET_XMLTAG(&value), 0x313c47c3U);
}

TEST_F(Read, ALeafListIsAnArrayOfCopies) {
  confd_value_t* elements = nullptr;
  int count = 0;
  ASSERT_EQ(cdb_get_list(Fd(), &elements, &count, "/config/md{%s}/%s", "east", "vlan-list"),
            CONFD_OK);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(CONFD_GET_INT32(&elements[1]), 20);
  for (int i = 0; i < count; ++i) {
    confd_free_value(&elements[i]);
  }
  std::free(elements);
}

TEST_F(Read, ALeafListWithoutElementsDoesNotExist) {
  confd_value_t* elements = nullptr;
  int count = 0;
  for (const char* name : {"remote-meps", "primary-vlan-id"}) {
    EXPECT_EQ(cdb_get_list(Fd(), &elements, &count, "/config/md{east}/%s", name), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS);
    EXPECT_EQ(cdb_exists(Fd(), "/config/md{east}/%s", name), 0);
  }
}

TEST_F(Read, TypedReadsTakeWhatFits) {
  std::int32_t number = 0;
  std::array<char, 64> text{};
  EXPECT_EQ(cdb_get_int32(Fd(), &number, "/config/md{east}/level"), CONFD_OK);
  EXPECT_EQ(number, 3);
  EXPECT_EQ(cdb_get_int32(Fd(), &number, "/config/md{east}/fault-action"), CONFD_OK);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(cdb_get_enum_value(Fd(), &number, "/config/md{east}/ccm-interval"), CONFD_OK);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(cdb_get_str(Fd(), text.data(), text.size(), "/config/md{east}/interface"), CONFD_OK);
  EXPECT_STREQ(text.data(), "port one");
}

TEST_F(Read, TypedReadsRefuseOtherTypes) {
  std::int32_t number = 0;
  std::array<char, 8> text{};
  confd_value_t value;
  confd_value_t* elements = nullptr;
  int count = 0;
  const auto refused = [](int result) {
    return result == CONFD_ERR && confd_errno == CONFD_ERR_BADTYPE;
  };
  EXPECT_TRUE(refused(cdb_get_int32(Fd(), &number, "/config/md{east}/ccm-interval")));
  EXPECT_TRUE(refused(cdb_get_int32(Fd(), &number, "/config/md{east}/direction")));
  EXPECT_TRUE(refused(cdb_get_int32(Fd(), &number, "/config/md{east}/vlan-list")));
  EXPECT_TRUE(refused(cdb_get_enum_value(Fd(), &number, "/config/md{east}/level")));
  EXPECT_TRUE(refused(cdb_get_str(Fd(), text.data(), text.size(), "/config/md{east}/level")));
  EXPECT_TRUE(refused(cdb_get_list(Fd(), &elements, &count, "/config/md{east}/level")));
  EXPECT_TRUE(refused(cdb_get(Fd(), &value, "/config/md{east}/continuity-check")));
  EXPECT_STREQ(confd_lasterr(), "/config/md{east}/continuity-check: the node is no leaf");
}

TEST_F(Read, ATextIsCutToItsBuffer) {
  std::array<char, 6> text = {'#', '#', '#', '#', '#', '#'};
  EXPECT_EQ(cdb_get_str(Fd(), text.data(), 5, "/config/md{east}/interface"), CONFD_OK);
  EXPECT_EQ(std::string(text.data(), 6), std::string("port\0#", 6));
  EXPECT_EQ(cdb_get_str(Fd(), text.data(), 0, "/config/md{east}/interface"), CONFD_ERR);
}

TEST_F(Read, ANodeThatIsNotThereIsToldWithItsPath) {
  confd_value_t value;
  EXPECT_EQ(cdb_get(Fd(), &value, "/config/md{%s}/level", "north"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS);
  EXPECT_STREQ(confd_lasterr(), "/config/md{north}/level: no such node exists");
}

TEST_F(Read, ExistenceOfLeavesContainersAndEntries) {
  EXPECT_EQ(cdb_exists(Fd(), "/config/md{east}/cci-enabled"), 1);
  EXPECT_EQ(cdb_exists(Fd(), "/config/md{east}/continuity-check"), 1);
  EXPECT_EQ(cdb_exists(Fd(), "/config/md{east}"), 1);
  EXPECT_EQ(cdb_exists(Fd(), "/config/md{north}"), 0);
  EXPECT_EQ(cdb_exists(Fd(), "/config/md[7]"), 0);
  EXPECT_EQ(cdb_exists(Fd(), "/status/oam"), 0);
}

TEST_F(Read, CountsEntries) {
  EXPECT_EQ(cdb_num_instances(Fd(), "/config/md"), 3);
  EXPECT_EQ(cdb_num_instances(Fd(), "/config/md/"), 3);
  EXPECT_EQ(cdb_num_instances(Fd(), "/config/md[0]/ma"), 0);
  EXPECT_EQ(cdb_num_instances(Fd(), "/status/oam/cfm/md"), 0);
  EXPECT_EQ(cdb_num_instances(Fd(), "/config/md[9]/ma"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS);
  EXPECT_EQ(cdb_num_instances(Fd(), "/config/md{east}"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
}

TEST_F(Read, APathThatTheModelDoesNotHaveIsTheAgentsToRefuse) {
  EXPECT_EQ(cdb_exists(Fd(), "/config/wrong"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
  // Also where everything around it is known.
  EXPECT_EQ(cdb_exists(Fd(), "/config/md[0]/level"), 1);
  EXPECT_EQ(cdb_num_instances(Fd(), "/config/md[0]/wrong"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
  EXPECT_STREQ(confd_lasterr(), "/config/md[0]/wrong: the model has no node 'wrong'");
}

TEST_F(Read, KeysCannotBreakOutOfTheirPlace) {
  EXPECT_EQ(Level("a}/x{"), 5);
  EXPECT_EQ(Level("say \"hi\" {"), 6);
  EXPECT_EQ(Level("east}/level"), -1);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS);
  EXPECT_STREQ(confd_lasterr(), R"(/config/md{"east}/level"}/level: no such node exists)");
  std::int32_t level = 0;
  EXPECT_EQ(cdb_get_int32(Fd(), &level, "/config/md{east}/%s", "level}/x{"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
}

TEST_F(Read, ATypedKeyFindsItsEntry) {
  confd_value_t key;
  CONFD_SET_INT64(&key, 12);
  std::int32_t level = 0;
  EXPECT_EQ(cdb_get_int32(Fd(), &level, "/config/mep{%x}/level", &key), CONFD_OK);
  EXPECT_EQ(level, 7);
  EXPECT_EQ(cdb_get_int32(Fd(), &level, "/config/mep{%d}/level", 12), CONFD_OK);
}

TEST_F(Read, NeighboursCostNoRoundTrip) {
  EXPECT_EQ(Level("east"), 3);
  const std::uint64_t before = confd_round_trips();
  std::int32_t number = 0;
  EXPECT_EQ(cdb_get_enum_value(Fd(), &number, "/config/md{east}/ccm-interval"), CONFD_OK);
  EXPECT_EQ(cdb_exists(Fd(), "/config/md{east}/primary-vlan-id"), 0);
  EXPECT_EQ(cdb_num_instances(Fd(), "/config/md"), 3);
  EXPECT_EQ(confd_round_trips(), before);
}

TEST_F(Read, ASessionForgetsWhatAnEarlierOneRead) {
  EXPECT_EQ(Level("east"), 3);
  const std::uint64_t before = confd_round_trips();
  ASSERT_EQ(cdb_end_session(Fd()), CONFD_OK);
  ASSERT_EQ(cdb_start_session(Fd(), CDB_RUNNING), CONFD_OK);
  EXPECT_EQ(confd_round_trips(), before);
  EXPECT_EQ(Level("east"), 3);
  EXPECT_EQ(confd_round_trips(), before + 1);
}

TEST_F(Read, OutsideASessionIsAnError) {
  ASSERT_EQ(cdb_end_session(Fd()), CONFD_OK);
  EXPECT_EQ(cdb_exists(Fd(), "/config"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOSESSION);
  EXPECT_EQ(cdb_end_session(Fd()), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOSESSION);
}

TEST_F(Read, OneSessionAtATime) {
  EXPECT_EQ(cdb_start_session(Fd(), CDB_RUNNING), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_INUSE);
  EXPECT_EQ(Level("east"), 3);
}

TEST_F(Read, ResultsWithoutAnAddressAreErrors) {
  EXPECT_EQ(cdb_get(Fd(), nullptr, "/config/md{east}/level"), CONFD_ERR);
  EXPECT_EQ(cdb_get_int32(Fd(), nullptr, "/config/md{east}/level"), CONFD_ERR);
  EXPECT_EQ(cdb_get_txid(Fd(), nullptr), CONFD_ERR);
  confd_value_t value;
  EXPECT_EQ(cdb_get(Fd(), &value, nullptr), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
}

TEST_F(Read, TheTransactionIdIsInOrderOfWeight) {
  cdb_txid txid;
  ASSERT_EQ(cdb_get_txid(Fd(), &txid), CONFD_OK);
  EXPECT_EQ(txid.s1, 7U);
  EXPECT_EQ(txid.s2, 9U);
  EXPECT_EQ(txid.s3, 0U);
}

TEST(Session, ALockThatIsTakenIsTold) {
  FakeAgent agent({[](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
    const auto request = test::TakeRequest(fd);
    cfm::agent::Reply reply;
    reply.add_errors()->set_code(CONFD_ERR_LOCKED);
    reply.mutable_errors(0)->set_message("a commit is in progress");
    EXPECT_EQ(request->start_session().flags(), CDB_LOCK_SESSION);
    test::Answer(fd, reply);
    test::AwaitClose(fd);
  }});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  EXPECT_EQ(cdb_start_session2(socket.Fd(), CDB_RUNNING, CDB_LOCK_SESSION), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_LOCKED);
  EXPECT_THAT(confd_lasterr(), HasSubstr("a commit is in progress"));
  EXPECT_EQ(cdb_exists(socket.Fd(), "/config"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOSESSION);
  socket.Close();
  EXPECT_EQ(agent.Finish(), "");
}

TEST(Session, OperationalDataIsReadAnew) {
  FakeAgent agent({test::ServeData(Tree())});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  ASSERT_EQ(cdb_start_session(socket.Fd(), CDB_OPERATIONAL), CONFD_OK);
  const std::uint64_t before = confd_round_trips();
  EXPECT_EQ(cdb_exists(socket.Fd(), "/config"), 1);
  EXPECT_EQ(cdb_exists(socket.Fd(), "/config"), 1);
  EXPECT_EQ(confd_round_trips(), before + 2);
}

}  // namespace
