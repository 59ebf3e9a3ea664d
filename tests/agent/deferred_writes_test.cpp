// Writes without a reply, and what tells programs that they may be made.
#include <confd_cdb.h>

#include <regex>

#include "fixture.h"
#include "operational_paths.h"
#include "provider_fixture.h"
#include "running_agent.h"
#include "scripted_provider.h"

namespace agentd::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class DeferredWritesTest : public ::testing::Test {
 protected:
  DeferredWritesTest() { client_.StartSession(CDB_OPERATIONAL, 0); }

  static pb::OperationalWrite Write(pb::OperationalWrite::Operation operation,
                                    const pb::Path& path) {
    pb::OperationalWrite write;
    write.set_operation(operation);
    *write.mutable_path() = path;
    return write;
  }
  static pb::OperationalWrite SetOf(const pb::Path& path, const pb::Value& value) {
    pb::OperationalWrite write = Write(pb::OperationalWrite::SET, path);
    *write.mutable_value() = value;
    return write;
  }
  pb::Reply Create(std::int64_t key, bool tell_leaves = false) {
    pb::Request request;
    *request.mutable_operational_write() =
        Write(pb::OperationalWrite::CREATE, EntryPath("local", key));
    request.mutable_operational_write()->set_tell_leaves(tell_leaves);
    return client_.Call(request);
  }
  pb::Reply DeleteHolding(std::uint32_t position) {
    pb::Request request;
    *request.mutable_operational_write() =
        Write(pb::OperationalWrite::DELETE, PositionPath("local", position));
    request.mutable_operational_write()->set_hold(true);
    return client_.Call(request);
  }
  void Defer(const std::vector<pb::OperationalWrite>& writes) {
    pb::Request request;
    for (const auto& write : writes) {
      *request.mutable_deferred_writes()->add_writes() = write;
    }
    client_.Send(request);
  }

  // In the order of their creation.
  std::vector<std::string> LocalKeys() {
    const std::string text =
        Client(agent_, pb::ROLE_FRONT_END).Get("/status/oam/cfm/local", pb::FORMAT_JSON).document();
    const std::regex key(R"x("id": "(\d+)")x");
    std::vector<std::string> keys;
    for (std::sregex_iterator at(text.begin(), text.end(), key), end; at != end; ++at) {
      keys.push_back((*at)[1]);
    }
    return keys;
  }

  RunningAgent agent_;
  Client client_{agent_, pb::ROLE_CDB_DATA};
};

TEST_F(DeferredWritesTest, AreMadeInOrderAndHaveNoReply) {
  Create(1);
  Defer({SetOf(EntryPath("local", 1, "md"), TextOf("east")),
         SetOf(EntryPath("local", 1, "md"), TextOf("west")),
         SetOf(EntryPath("local", 1, "mep"), NumberOf(C_INT32, 5))});
  Client front(agent_, pb::ROLE_FRONT_END);
  client_.Txid();  // the agent has come so far
  const pb::Reply reply = front.Get("/status/oam/cfm/local[id='1']", pb::FORMAT_JSON);
  EXPECT_THAT(reply.document(), ::testing::AllOf(HasSubstr(R"("md": "west")"), HasSubstr("5")));
}

TEST_F(DeferredWritesTest, GoWithAnEntryThatIsGone) {
  Create(1);
  OperationalWriter other(agent_);
  EXPECT_EQ(other.Delete(EntryPath("local", 1)).errors_size(), 0);
  Defer({SetOf(EntryPath("local", 1, "md"), TextOf("east"))});
  EXPECT_EQ(Create(1).errors_size(), 0);
}

TEST_F(DeferredWritesTest, ThatFailEndTheConnection) {
  Create(1);
  Defer({SetOf(EntryPath("local", 1, "tx-rdi"), NumberOf(C_ENUM_VALUE, 9))});
  EXPECT_TRUE(client_.IsClosed());
  EXPECT_TRUE(agent_.AwaitLog("a deferred write that fails"));
}

TEST_F(DeferredWritesTest, OfAnythingButALeafEndTheConnection) {
  Defer({Write(pb::OperationalWrite::CREATE, EntryPath("local", 1))});
  EXPECT_TRUE(client_.IsClosed());
}

TEST_F(DeferredWritesTest, NeedASessionOnTheOperationalDatastore) {
  client_.EndSession();
  Defer({SetOf(EntryPath("local", 1, "md"), TextOf("east"))});
  EXPECT_TRUE(client_.IsClosed());
}

TEST_F(DeferredWritesTest, MayBeMadeOfTheLeavesThatAReplyTells) {
  std::vector<std::string> told;
  const pb::Reply reply = Create(1, true);
  for (const auto& leaf : reply.leaves()) {
    std::string text = leaf.name() + (leaf.takes_all() ? " all" : "");
    for (const std::int64_t number : leaf.numbers()) {
      text += " " + std::to_string(number);
    }
    told.push_back(text);
  }
  EXPECT_THAT(told, ElementsAre("md all", "ma all", "mep all", "mac-address all", "tx-rdi 0 1",
                                "defects all", "highest-priority-defect all",
                                "tx-interface-status-tlv 0 1 2 3 4 5 6 7",
                                "tx-port-status-tlv 0 1 2 3", "block-state all"));
  EXPECT_EQ(Create(2).leaves_size(), 0);
  EXPECT_EQ(Create(2, true).leaves_size(), 0);  // refused
}

TEST_F(DeferredWritesTest, OfDeletionsTellWhatTheyWithdraw) {
  for (std::int64_t key = 0; key < 4; ++key) {
    Create(key);
  }
  const pb::Reply held = DeleteHolding(3);
  EXPECT_TRUE(held.held());
  EXPECT_EQ(held.entries_left(), 3U);
  pb::Request request;
  for (std::uint32_t position : {2U, 1U}) {
    *request.mutable_deferred_writes()->add_writes() =
        Write(pb::OperationalWrite::DELETE, PositionPath("local", position));
  }
  request.mutable_deferred_writes()->set_wants_reply(true);
  EXPECT_EQ(client_.Call(request).errors_size(), 0);
  EXPECT_EQ(DeleteHolding(0).entries_left(), 0U);
}

TEST_F(DeferredWritesTest, HoldOthersOffUntilTheSessionEnds) {
  Create(0);
  Create(1);
  DeleteHolding(1);
  Client other(agent_, pb::ROLE_CDB_DATA, "other");
  other.StartSession(CDB_OPERATIONAL, 0);
  pb::Request create;
  *create.mutable_operational_write() = Write(pb::OperationalWrite::CREATE, EntryPath("local", 9));
  other.Send(create);
  Client third(agent_, pb::ROLE_CDB_DATA, "third");
  third.StartSession(CDB_OPERATIONAL, 0);
  create.mutable_operational_write()->mutable_path()->CopyFrom(EntryPath("local", 10));
  third.Send(create);
  EXPECT_TRUE(other.IsSilent(agent_));
  EXPECT_EQ(Create(2).errors_size(), 0);  // its own go on
  client_.EndSession();
  EXPECT_EQ(other.Receive().errors_size(), 0);
  EXPECT_EQ(third.Receive().errors_size(), 0);
}

TEST_F(DeferredWritesTest, LetOthersGoOnInTheOrderInWhichTheyCame) {
  for (std::int64_t key = 0; key < 2; ++key) {
    Create(key);
  }
  DeleteHolding(1);
  // Connections that come later take the memory of those that have gone.
  std::vector<Client> others;
  for (int i = 0; i < 8; ++i) {
    others.emplace_back(agent_, pb::ROLE_CDB_DATA, "other");
  }
  others.erase(others.begin(), others.begin() + 4);
  Client(agent_, pb::ROLE_FRONT_END).Status();
  for (int i = 0; i < 4; ++i) {
    others.emplace_back(agent_, pb::ROLE_CDB_DATA, "other");
  }
  std::int64_t key = 2;
  for (Client& other : others) {
    other.StartSession(CDB_OPERATIONAL, 0);
    pb::Request create;
    *create.mutable_operational_write() =
        Write(pb::OperationalWrite::CREATE, EntryPath("local", key++));
    other.Send(create);
    Client(agent_, pb::ROLE_FRONT_END).Status();  // the agent has come so far
  }
  client_.EndSession();
  for (Client& other : others) {
    EXPECT_EQ(other.Receive().errors_size(), 0);
  }
  EXPECT_THAT(LocalKeys(), ElementsAre("0", "2", "3", "4", "5", "6", "7", "8", "9"));
}

TEST_F(DeferredWritesTest, HoldNoUnknownWriteOffWhichEndsItsOwnConnectionOnly) {
  Create(0);
  DeleteHolding(0);
  Client other(agent_, pb::ROLE_CDB_DATA, "other");
  other.StartSession(CDB_OPERATIONAL, 0);
  pb::Request unknown;
  *unknown.mutable_operational_write() =
      Write(static_cast<pb::OperationalWrite::Operation>(7), EntryPath("local", 9));
  other.Send(unknown);
  Client front(agent_, pb::ROLE_FRONT_END);
  front.Status();  // the agent has come so far
  client_.EndSession();
  EXPECT_TRUE(other.IsClosed());
  EXPECT_EQ(Client(agent_, pb::ROLE_FRONT_END).Status().connections_size(), 1);
}

TEST_F(DeferredWritesTest, HoldNobodyOffOnceTheirProgramIsGone) {
  Create(0);
  DeleteHolding(0);
  Client other(agent_, pb::ROLE_CDB_DATA, "other");
  other.StartSession(CDB_OPERATIONAL, 0);
  pb::Request create;
  *create.mutable_operational_write() = Write(pb::OperationalWrite::CREATE, EntryPath("local", 9));
  other.Send(create);
  client_.Hang();
  EXPECT_EQ(other.Receive().errors_size(), 0);
}

TEST_F(DeferredWritesTest, TheAgentTellsHowManyRoundTripsAConnectionHasCost) {
  Create(1);
  Defer({SetOf(EntryPath("local", 1, "md"), TextOf("east"))});
  Create(2);
  Client front(agent_, pb::ROLE_FRONT_END);
  const pb::Status status = front.Status();
  ASSERT_EQ(status.connections_size(), 1);
  EXPECT_EQ(status.connections(0).name(), "tester");
  EXPECT_EQ(status.connections(0).role(), pb::ROLE_CDB_DATA);
  EXPECT_EQ(status.connections(0).pid(), getpid());
  EXPECT_EQ(status.connections(0).round_trips(), 2U);
}

}  // namespace
}  // namespace agentd::test
