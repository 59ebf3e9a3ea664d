#include <confd_cdb.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/un.h>
#include <unistd.h>

#include "confd/connected.h"
#include "confd/data_agent.h"
#include "confd/data_tree.h"
#include "confd/fake_agent.h"
#include "frame.h"

namespace {

using test::FakeAgent;
using testing::HasSubstr;

FakeAgent::Script Refuse(const std::string& cause) {
  return [cause](int fd) {
    cfm::agent::Hello hello;
    ipc::ReceiveFrame(fd, hello);
    cfm::agent::HelloReply reply;
    reply.set_error(cause);
    ipc::SendFrame(fd, reply);
  };
}

// Result of a connection attempt; the socket is closed again.
int Connect(const FakeAgent& agent, cdb_sock_type type = CDB_DATA_SOCKET) {
  const int fd = agent.NewSocket();
  const int result = cdb_connect(fd, type, agent.Address(), agent.AddressSize());
  EXPECT_EQ(cdb_close(fd), CONFD_OK);
  return result;
}

class ConnectOver : public testing::TestWithParam<int> {};

TEST_P(ConnectOver, ASocketOfEitherFamilyReadsValues) {
  FakeAgent agent(
      {test::ServeData(test::Container("config", {test::Leaf("level", test::Int32(4))}))},
      GetParam());
  test::Connected socket(agent, CDB_DATA_SOCKET);
  ASSERT_EQ(cdb_start_session(socket.Fd(), CDB_RUNNING), CONFD_OK);
  std::int32_t level = 0;
  EXPECT_EQ(cdb_get_int32(socket.Fd(), &level, "/config/level"), CONFD_OK) << confd_lasterr();
  EXPECT_EQ(level, 4);
  EXPECT_EQ(socket.Close(), CONFD_OK);
  EXPECT_EQ(agent.Finish(), "");
}

INSTANTIATE_TEST_SUITE_P(Connect, ConnectOver, testing::Values(AF_UNIX, AF_INET));

TEST(Connect, GreetsUnderTheGivenName) {
  std::string name;
  FakeAgent agent({[&](int fd) {
    cfm::agent::Hello hello;
    ipc::ReceiveFrame(fd, hello);
    name = hello.name();
    ipc::SendFrame(fd, cfm::agent::HelloReply());
  }});
  const int fd = agent.NewSocket();
  EXPECT_EQ(cdb_connect_name(fd, CDB_SUBSCRIPTION_SOCKET, agent.Address(), agent.AddressSize(),
                             "cfm-app"),
            CONFD_OK);
  cdb_close(fd);
  agent.Finish();
  EXPECT_EQ(name, "cfm-app");
}

TEST(Connect, ANameThatTheProtocolCannotCarryIsAnErrorOfTheProgram) {
  FakeAgent agent({test::AwaitClose});
  const int fd = agent.NewSocket();
  EXPECT_EQ(cdb_connect_name(fd, CDB_DATA_SOCKET, agent.Address(), agent.AddressSize(), "caf\xe9"),
            CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
  EXPECT_THAT(confd_lasterr(), HasSubstr("'cfm.agent.Hello.name' contains invalid UTF-8"));
  cdb_close(fd);
  EXPECT_EQ(agent.Finish(), "");  // nothing was sent
}

TEST(Connect, ARefusalIsAnErrorWithTheAgentsCause) {
  FakeAgent agent({Refuse("protocol version 1 is not spoken here")});
  EXPECT_EQ(Connect(agent), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_EXTERNAL);
  EXPECT_THAT(confd_lasterr(), HasSubstr("agentd.sock: the agent refuses: protocol version 1"));
}

TEST(Connect, AnAgentThatDiesDuringTheGreetingIsAnError) {
  FakeAgent agent({[](int) {}});
  EXPECT_EQ(Connect(agent), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_OS);
}

TEST(Connect, AGreetingOfGarbageIsAnError) {
  FakeAgent agent({[](int fd) {
    cfm::agent::Hello hello;
    ipc::ReceiveFrame(fd, hello);
    test::SendRaw(fd, std::string("\0\0\0\4\xff\xff\xff\xff", 8));
  }});
  EXPECT_EQ(Connect(agent), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
}

TEST(Connect, NobodyListeningIsAnErrorThatNamesTheAddress) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "/nowhere/agentd.sock");
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(
      cdb_connect(fd, CDB_DATA_SOCKET, reinterpret_cast<sockaddr*>(&address), sizeof(address)),
      CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_OS);
  EXPECT_THAT(confd_lasterr(), HasSubstr("/nowhere/agentd.sock: cannot connect: No such file"));
  EXPECT_EQ(cdb_close(fd), CONFD_OK);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST(Connect, AddressesThatAreNoneAreErrors) {
  sockaddr_in internet{};
  internet.sin_family = AF_INET;
  auto* address = reinterpret_cast<sockaddr*>(&internet);
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(cdb_connect(fd, CDB_DATA_SOCKET, nullptr, 0), CONFD_ERR);
  EXPECT_EQ(cdb_connect(fd, CDB_DATA_SOCKET, address, 1), CONFD_ERR);
  EXPECT_EQ(cdb_connect(fd, CDB_DATA_SOCKET, address, 8), CONFD_ERR);
  internet.sin_family = AF_INET6;
  EXPECT_EQ(cdb_connect(fd, CDB_DATA_SOCKET, address, sizeof(internet)), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
  cdb_close(fd);
}

TEST(Connect, CallsOnASocketThatIsNotConnectedAreErrors) {
  EXPECT_EQ(cdb_start_session(-1, CDB_RUNNING), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
  EXPECT_EQ(cdb_num_instances(12345, "/config/md"), CONFD_ERR);
  EXPECT_EQ(cdb_close(-1), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_OS);
}

TEST(Connect, CallsOnTheOtherKindOfSocketAreErrors) {
  FakeAgent agent({test::ServeData(test::Container("config", {}))});
  test::Connected socket(agent, CDB_DATA_SOCKET);
  EXPECT_EQ(cdb_subscribe_done(socket.Fd()), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
}

// A socket number that the agent's thread, which takes the lowest free ones,
// never comes to use.
constexpr int kNumber = 200;

// Puts `fd` under kNumber.
void MoveToNumber(int fd) {
  ASSERT_EQ(dup2(fd, kNumber), kNumber);
  ASSERT_EQ(close(fd), 0);
}

int ConnectNumber(const FakeAgent& agent) {
  return cdb_connect(kNumber, CDB_DATA_SOCKET, agent.Address(), agent.AddressSize());
}

TEST(Connect, ANumberThatIsUsedAgainStartsAfresh) {
  FakeAgent agent({test::ServeData(test::Container("config", {}))});
  MoveToNumber(agent.NewSocket());
  ASSERT_EQ(ConnectNumber(agent), CONFD_OK);
  ASSERT_EQ(cdb_start_session(kNumber, CDB_RUNNING), CONFD_OK);
  ASSERT_EQ(cdb_close(kNumber), CONFD_OK);
  EXPECT_EQ(cdb_exists(kNumber, "/config"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
  MoveToNumber(agent.NewSocket());
  ASSERT_EQ(ConnectNumber(agent), CONFD_OK);
  EXPECT_EQ(cdb_exists(kNumber, "/config"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOSESSION);
  EXPECT_EQ(cdb_start_session(kNumber, CDB_RUNNING), CONFD_OK);
  EXPECT_EQ(cdb_exists(kNumber, "/config"), 1);
  EXPECT_EQ(cdb_close(kNumber), CONFD_OK);
}

TEST(Connect, ASocketThatWasClosedBehindTheLibrarysBackIsNotTouched) {
  FakeAgent agent({test::ServeData(test::Container("config", {}))});
  MoveToNumber(agent.NewSocket());
  ASSERT_EQ(ConnectNumber(agent), CONFD_OK);
  ASSERT_EQ(close(kNumber), 0);
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair), 0);
  MoveToNumber(pair[0]);
  EXPECT_EQ(cdb_start_session(kNumber, CDB_RUNNING), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
  char byte = 0;
  EXPECT_EQ(read(pair[1], &byte, 1), -1) << "the library wrote to a socket that is not its own";
  EXPECT_EQ(cdb_close(kNumber), CONFD_OK);
  close(pair[1]);
}

TEST(LoadSchemas, LearnsTheNamesOfTheModel) {
  FakeAgent agent({[](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_SCHEMA, {{0x5c4e0001, "learnt-from-schema"}});
    test::AwaitClose(fd);
  }});
  EXPECT_EQ(confd_load_schemas(agent.Address(), agent.AddressSize()), CONFD_OK);
  EXPECT_STREQ(confd_hash2str(0x5c4e0001), "learnt-from-schema");
  EXPECT_EQ(confd_str2hash("learnt-from-schema"), 0x5c4e0001U);
  EXPECT_EQ(agent.Finish(), "");
}

TEST(LoadSchemas, ARefusalIsAnError) {
  FakeAgent agent({Refuse("not you")});
  EXPECT_EQ(confd_load_schemas(agent.Address(), agent.AddressSize()), CONFD_ERR);
  EXPECT_THAT(confd_lasterr(), HasSubstr("the agent refuses: not you"));
}

TEST(Init, SaysFailuresOnItsStreamOnlyWhenAsked) {
  char* text = nullptr;
  std::size_t size = 0;
  FILE* stream = open_memstream(&text, &size);
  confd_init("a-program", stream, CONFD_DEBUG);
  cdb_start_session(-1, CDB_RUNNING);
  confd_init("a-program", stream, CONFD_SILENT);
  cdb_end_session(-1);
  confd_init("a-program", nullptr, CONFD_TRACE);
  cdb_end_session(-1);
  confd_init("a-program", nullptr, CONFD_SILENT);
  std::fclose(stream);
  EXPECT_STREQ(text, "confd: socket -1 is not connected: call cdb_connect first\n");
  std::free(text);
}

}  // namespace
