// The life of the process: start, end, hostile and confused peers.
#include <arpa/inet.h>
#include <confd_lib.h>
#include <sys/socket.h>

#include <confd_cdb.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "connect.h"
#include "fixture.h"
#include "frame.h"
#include "running_agent.h"
#include "server.h"
#include "utf8.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

const std::string kLevel = std::string(kEast) + "/level";

std::size_t LinesIn(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(Process, RestartKeepsTheConfigurationAndItsNumber) {
  RunningAgent agent;
  std::string text;
  {
    Client front(agent, pb::ROLE_FRONT_END);
    front.Edit({Document(EastDocument())});
    EXPECT_EQ(front.Edit({SetLeaf(kLevel, "4")}).txid(), 2U);
    text = front.Show();
  }
  EXPECT_EQ(agent.Stop(), 0);
  EXPECT_FALSE(std::filesystem::exists(agent.Socket()));
  agent.Start();
  Client front(agent, pb::ROLE_FRONT_END);
  EXPECT_EQ(front.Show(), text);
  EXPECT_EQ(front.Status().txid(), 2U);
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "5")}).txid(), 3U);
}

TEST(Process, ServesTheWatchdogFromItsLoop) {
  RunningAgent agent({}, {"env", "WATCHDOG_USEC=50000"});
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(agent.AwaitNotification("WATCHDOG=1"));
  }
}

TEST(Process, WhatWasAnsweredIsThereAfterAKill) {
  RunningAgent agent;
  Client(agent, pb::ROLE_FRONT_END).Edit({Document(EastDocument())});
  agent.Kill();
  agent.Start();
  Client front(agent, pb::ROLE_FRONT_END);
  EXPECT_EQ(front.Status().txid(), 1U);
  EXPECT_THAT(front.Show(), HasSubstr("east"));
}

TEST(Process, ASecondOneOnTheSameDirectoriesEndsWithOneLine) {
  RunningAgent agent;
  const ::test::CommandResult second = agent.RunAnother();
  EXPECT_EQ(second.status, 1);
  EXPECT_EQ(LinesIn(second.error), 1U) << second.error;
  EXPECT_THAT(second.error, HasSubstr("already runs"));
  EXPECT_EQ(Client(agent, pb::ROLE_FRONT_END).Status().txid(), 0U);
}

TEST(Process, ADamagedDatabaseEndsTheStartWithOneLine) {
  RunningAgent agent;
  agent.Stop();
  std::filesystem::remove(agent.Database().native() + "-wal");
  std::ofstream(agent.Database(), std::ios::trunc) << std::string(8192, 'x');
  const ::test::CommandResult result = agent.RunAnother();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(LinesIn(result.error), 1U) << result.error;
  EXPECT_THAT(result.error, HasSubstr(agent.Database().native()));
}

TEST(Process, DirectoriesThatCannotBeUsedEndTheStartWithOneLine) {
  const TempDirectory directory;
  std::ofstream(directory / "file") << "no directory";
  const auto start = [&](const std::string& runtime, const std::string& state,
                         const std::string& yang) {
    return ::test::Run({TEST_AGENTD, "--runtime-dir", directory / runtime, "--state-dir",
                        directory / state, "--yang-dir", yang});
  };
  for (const auto& result :
       {start("file", "state", TEST_YANG_DIR), start("run", "file", TEST_YANG_DIR),
        start("run", "state", directory / "none"), start("run", "state", directory / "run")}) {
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(LinesIn(result.error), 1U) << result.error;
    EXPECT_THAT(result.error, HasSubstr(directory.Path().native()));
  }
}

TEST(Process, AFileThatMayNotGrowRefusesTheCommitAndNotTheNext) {
  RunningAgent agent({}, {"prlimit", "--fsize=150000"});
  Client front(agent, pb::ROLE_FRONT_END);
  ASSERT_EQ(front.Edit({Document(EastDocument())}).txid(), 1U);
  std::vector<pb::EditOperation> many;
  for (int i = 0; i < 4000; ++i) {
    many.push_back(SetLeaf("/config/oam/cfm/md[id='md" + std::to_string(i) + "']/level", "1"));
  }
  const pb::Reply reply = front.Edit(many);
  ASSERT_EQ(reply.errors_size(), 1);
  EXPECT_THAT(reply.errors(0).message(),
              AllOf(HasSubstr(agent.Database().native()), HasSubstr("nothing was changed")));
  EXPECT_EQ(reply.txid(), 1U);
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "4")}).txid(), 2U);
}

TEST(Process, NamesAndTagsComeWithTheWelcome) {
  RunningAgent agent;
  Client schema(agent, pb::ROLE_SCHEMA);
  EXPECT_TRUE(schema.Welcome().error().empty());
  std::map<std::uint32_t, std::string> names;
  for (const auto& entry : schema.Welcome().tags()) {
    names[entry.tag()] = entry.name();
  }
  EXPECT_EQ(names[0x5baff9dc], "md");
  EXPECT_EQ(names[0x54300d15], "fault-action");
  EXPECT_EQ(names[HashOfName("config")], "config");
}

TEST(Process, ARoleThatThereIsNotIsRefused) {
  RunningAgent agent;
  Client client(agent, static_cast<pb::Role>(9));
  EXPECT_THAT(client.Welcome().error(), HasSubstr("no role"));
  EXPECT_TRUE(client.IsClosed());
}

TEST(Process, AnotherVersionOfTheProtocolIsRefused) {
  RunningAgent agent;
  const ipc::UniqueFd fd = ipc::ConnectUnix(agent.Socket());
  pb::Hello hello;
  hello.set_version(2);
  hello.set_role(pb::ROLE_CDB_DATA);
  ipc::SendFrame(fd.Get(), hello);
  pb::HelloReply reply;
  ASSERT_TRUE(ipc::ReceiveFrame(fd.Get(), reply));
  EXPECT_THAT(reply.error(), HasSubstr("version 1"));
}

// What a confused or hostile peer sends on a connection of that role.
struct Nuisance {
  const char* name;
  pb::Role role;
  std::string bytes;
};

std::string Frame(const pb::Request& request) {
  std::string bytes;
  ipc::AppendFrame(bytes, request);
  return bytes;
}

std::vector<Nuisance> Nuisances() {
  pb::Request empty;
  pb::Request subscribe;
  subscribe.mutable_subscribe();
  pb::Request get;
  get.mutable_get();
  pb::Request start;
  start.mutable_start_session()->set_database(CDB_RUNNING);
  pb::Request end;
  end.mutable_end_session();
  pb::Request done;
  done.mutable_subscribe_done();
  pb::Request sync;
  sync.mutable_subscription_sync()->set_type(CDB_DONE_PRIORITY);
  return {
      {"Garbage", pb::ROLE_FRONT_END, std::string("\0\0\0\4\xff\xff\xff\xff", 8)},
      {"Oversized", pb::ROLE_FRONT_END, "\xff\xff\xff\xff"},
      {"NoText", pb::ROLE_FRONT_END, std::string("\0\0\0\6\xa2\1\3\x12\1\xff", 10)},  // Get.path
      {"NoRequest", pb::ROLE_FRONT_END, Frame(empty)},
      {"RequestOfAnotherRole", pb::ROLE_FRONT_END, Frame(subscribe)},
      {"FrontEndRequestOnDataConnection", pb::ROLE_CDB_DATA, Frame(get)},
      {"TwoSessions", pb::ROLE_CDB_DATA, Frame(start) + Frame(start)},
      {"EndWithoutStart", pb::ROLE_CDB_DATA, Frame(end)},
      {"DoneTwice", pb::ROLE_CDB_SUBSCRIPTION, Frame(done) + Frame(done)},
      {"SubscribeAfterDone", pb::ROLE_CDB_SUBSCRIPTION, Frame(done) + Frame(subscribe)},
      {"SyncWithoutNotification", pb::ROLE_CDB_SUBSCRIPTION, Frame(done) + Frame(sync)},
      {"RequestOnSchemaConnection", pb::ROLE_SCHEMA, Frame(get)},
  };
}

TEST(Process, ANuisanceLosesItsConnectionAndNobodyElseNotices) {
  RunningAgent agent;
  Client witness(agent, pb::ROLE_FRONT_END);
  for (const Nuisance& each : Nuisances()) {
    SCOPED_TRACE(each.name);
    Client client(agent, each.role, each.name);
    ASSERT_EQ(send(client.Fd(), each.bytes.data(), each.bytes.size(), 0),
              static_cast<ssize_t>(each.bytes.size()));
    if (each.role == pb::ROLE_CDB_SUBSCRIPTION) {
      client.Receive();  // of SubscribeDone
    }
    EXPECT_TRUE(client.IsClosed());
    EXPECT_EQ(witness.Status().txid(), 0U);
    EXPECT_THAT(agent.Log(), HasSubstr(std::string("connection of ") + each.name));
  }
  EXPECT_THAT(agent.Log(), HasSubstr("is no cfm.agent.Request: String field contains invalid"));
  EXPECT_THAT(agent.Log(), ::testing::Not(HasSubstr("libprotobuf")));
}

TEST(Process, BytesThatAreNoTextComeBackAsQuestionMarks) {
  EXPECT_EQ(WellFormed("a\xffz \xc3\xa9 \xc3"), "a?z \xc3\xa9 ?");
  EXPECT_EQ(WellFormed("\xed\xa0\x80"), "???");  // half of a surrogate pair
  RunningAgent agent;
  Client front(agent, pb::ROLE_FRONT_END, std::string(63, 'n') + "\xc3\xa9\n");
  const pb::Reply reply = front.Edit({Document("<config xmlns='urn:element:yang:cfm'>\xff")});
  EXPECT_EQ(reply.errors_size(), 1);
}

TEST(Process, ACutOffFrameIsNothingToOthers) {
  RunningAgent agent;
  Client client(agent, pb::ROLE_FRONT_END, "cut");
  ASSERT_EQ(send(client.Fd(), "\0\0\1\0abc", 7, 0), 7);
  client.Hang();
  EXPECT_EQ(Client(agent, pb::ROLE_FRONT_END).Status().txid(), 0U);
}

TEST(Process, SessionsThatCannotBeAreRefusedAtTheirFirstRead) {
  RunningAgent agent;
  Client client(agent, pb::ROLE_CDB_DATA);
  EXPECT_EQ(client.Level("east").errors(0).code(), CONFD_ERR_NOSESSION);
  client.StartSession(7, 0);
  EXPECT_THAT(client.Level("east").errors(0).message(), HasSubstr("running"));
  client.EndSession();
  client.StartSession(CDB_RUNNING, 0);
  EXPECT_EQ(client.Level("east").errors_size(), 0);
}

TEST(Process, SubscriptionsToWhatIsNotConfigurationAreRefused) {
  RunningAgent agent;
  Client client(agent, pb::ROLE_CDB_SUBSCRIPTION);
  const auto code = [&client](std::initializer_list<const char*> names, std::uint32_t ns) {
    pb::Request request;
    request.mutable_subscribe()->set_name_space(ns);
    for (const char* name : names) {
      request.mutable_subscribe()->mutable_path()->add_steps()->set_name(name);
    }
    return client.Call(request).errors(0).code();
  };
  EXPECT_EQ(code({"config", "oam", "cfm", "mdd"}, 0), CONFD_ERR_BADPATH);
  EXPECT_EQ(code({"status", "oam"}, 0), CONFD_ERR_BADPATH);
  EXPECT_EQ(code({"config"}, 1), CONFD_ERR_BADPATH);
}

TEST(Process, ADirectoryThatIsTakenLeavesNoNewOneBehind) {
  RunningAgent agent;
  const std::filesystem::path state = agent.Database().parent_path();
  const std::filesystem::path runtime = agent.Socket().parent_path();
  const std::filesystem::path fresh = runtime.parent_path() / "fresh";
  for (const auto& [one, other] : {std::pair(fresh, state), std::pair(runtime, fresh)}) {
    const auto outcome = ::test::Run(
        {TEST_AGENTD, "--runtime-dir", one, "--state-dir", other, "--yang-dir", TEST_YANG_DIR});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.error, HasSubstr("already runs"));
    EXPECT_FALSE(std::filesystem::exists(fresh));
  }
}

// A port that is free now.
std::uint16_t FreePort() {
  const ipc::UniqueFd fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  if (bind(fd.Get(), reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
      getsockname(fd.Get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("find a free port");
  }
  return ntohs(address.sin_port);
}

TEST(Process, TheLoopbackPortServesTheConfdApiAndNoFrontEnds) {
  const std::uint16_t port = FreePort();
  RunningAgent agent({"--port", std::to_string(port)});
  Client data(port, pb::ROLE_CDB_DATA);
  EXPECT_EQ(data.Txid(), 0U);
  Client front(port, pb::ROLE_FRONT_END);
  EXPECT_THAT(front.Welcome().error(), HasSubstr("local socket"));
  EXPECT_TRUE(front.IsClosed());
}

TEST(Process, AMistakeOnTheCommandLineIsExplained) {
  const auto mistake = ::test::Run({TEST_AGENTD, "--colour"});
  EXPECT_EQ(mistake.status, 2);
  EXPECT_THAT(mistake.error, ::testing::MatchesRegex("agentd: .*--colour.*; see agentd --help\n"));
  EXPECT_EQ(mistake.output, "");
  EXPECT_EQ(::test::Run({TEST_AGENTD, "--version"}).output.rfind("agentd ", 0), 0U);
  EXPECT_THAT(::test::Run({TEST_AGENTD, "--help"}).output, HasSubstr("Examples"));
}

}  // namespace
}  // namespace agentd::test
