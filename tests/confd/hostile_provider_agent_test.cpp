// An agent that asks nonsense costs its connection, never the program.
#include <gmock/gmock.h>

#include <functional>

#include "confd/data_tree.h"
#include "confd/provider_program.h"
#include "frame.h"

namespace {

using cfm::agent::ProviderRequest;
using test::Number;
using testing::HasSubstr;

class HostileProviderAgent : public test::ProviderTest {
 protected:
  HostileProviderAgent() {
    program_.does.get_elem = [](confd_trans_ctx*, confd_hkeypath_t*) {
      ADD_FAILURE() << "called";
      return CONFD_ERR;
    };
    Open(1);
  }

  // Working the socket fails with a text and is the end of its connection.
  void ExpectEnd(int fd, const std::string& text) {
    EXPECT_EQ(confd_fd_ready(program_.Daemon(), fd), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
    EXPECT_THAT(confd_lasterr(), HasSubstr(text));
    EXPECT_EQ(confd_fd_ready(program_.Daemon(), fd), CONFD_EOF);
  }

  void Read(const std::function<void(cfm::agent::Keypath&)>& spoil) {
    cfm::agent::Keypath keypath;
    spoil(keypath);
    agent_.Ask(test::BatchOf({test::GetElem(1, "level", keypath)}));
  }
};

TEST_F(HostileProviderAgent, BytesThatAreNoMessageEndTheConnection) {
  test::SendRaw(agent_.Worker(), std::string("\0\0\0\3\xff\xff\xff", 7));
  ExpectEnd(program_.Worker(), "makes no sense");
}

TEST_F(HostileProviderAgent, AReplyToNothingEndsTheConnection) {
  test::Answer(agent_.Worker(), cfm::agent::Reply());
  ExpectEnd(program_.Worker(), "no request to a data provider");
}

TEST_F(HostileProviderAgent, ARequestOfNoKindEndsTheConnection) {
  agent_.Send(agent_.Worker(), ProviderRequest());
  ExpectEnd(program_.Worker(), "no batch and no action");
}

TEST_F(HostileProviderAgent, ATransactionOnTheWorkerSocketEndsTheConnection) {
  ProviderRequest request;
  request.mutable_trans_init()->set_thandle(1);
  agent_.Send(agent_.Worker(), request);
  ExpectEnd(program_.Worker(), "no batch and no action");
}

TEST_F(HostileProviderAgent, AReadOnTheControlSocketEndsTheConnection) {
  ProviderRequest request;
  request.mutable_get_elem()->set_thandle(1);
  agent_.Send(agent_.Control(), request);
  ExpectEnd(program_.Control(), "none of a transaction");
}

TEST_F(HostileProviderAgent, AnIdThatComesTwiceEndsTheConnection) {
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    return test::ReplyInt32(transaction, 1);
  };
  const auto id = agent_.GetElem(1, "level");
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  cfm::agent::FromAgent again;
  *again.mutable_read_batch() = test::BatchOf({test::GetElem(1, "level", test::LevelOfLocal(3))});
  again.mutable_read_batch()->mutable_requests(0)->set_id(id);
  ipc::SendFrame(agent_.Worker(), again);
  ExpectEnd(program_.Worker(), "after request");
}

TEST_F(HostileProviderAgent, AnIdThatComesTwiceInABatchEndsTheConnectionBeforeAnyIsWorked) {
  const auto request = test::GetElem(1, "level", test::LevelOfLocal(3));
  cfm::agent::FromAgent message;
  *message.mutable_read_batch() = test::BatchOf({request, request});
  for (auto& each : *message.mutable_read_batch()->mutable_requests()) {
    each.set_id(77);
  }
  ipc::SendFrame(agent_.Worker(), message);
  ExpectEnd(program_.Worker(), "request 77 after request 77");
}

TEST_F(HostileProviderAgent, AnActionInABatchEndsTheConnection) {
  ProviderRequest action;
  action.mutable_action()->set_actionpoint("clear");
  agent_.Ask(test::BatchOf({action}));
  ExpectEnd(program_.Worker(), "no read");
}

TEST_F(HostileProviderAgent, ASharedKeypathWithoutOneBeforeItEndsTheConnection) {
  Read([](cfm::agent::Keypath& keypath) {
    keypath.add_elements()->set_tag(1);
    keypath.set_shared(1);
  });
  ExpectEnd(program_.Worker(), "shares 1 elements with one of 0");
}

TEST_F(HostileProviderAgent, ConfigurationThatMakesNoSenseEndsTheConnection) {
  auto batch = test::BatchOf({test::GetElem(1, "level", test::LevelOfLocal(3))});
  auto& node = *batch.add_configuration();
  node.set_name("config");
  node.set_coverage(cfm::agent::DataNode::OWN_NODES);
  *node.add_children()->add_keys() = Number(C_XMLTAG, 0);
  agent_.Ask(batch);
  ExpectEnd(program_.Worker(), "a key of type");
}

TEST_F(HostileProviderAgent, AKeypathThatIsTooDeepEndsTheConnection) {
  Read([](cfm::agent::Keypath& keypath) {
    for (int i = 0; i <= MAXDEPTH; ++i) {
      keypath.add_elements()->set_tag(1);
    }
  });
  ExpectEnd(program_.Worker(), "more than 40 elements");
}

TEST_F(HostileProviderAgent, AnEntryOfTooManyKeysEndsTheConnection) {
  Read([](cfm::agent::Keypath& keypath) {
    auto& entry = *keypath.add_elements();
    for (int i = 0; i <= MAXKEYLEN; ++i) {
      *entry.add_keys() = test::Int32(i);
    }
  });
  ExpectEnd(program_.Worker(), "more than 9 keys");
}

TEST_F(HostileProviderAgent, AnElementOfNothingEndsTheConnection) {
  Read([](cfm::agent::Keypath& keypath) { keypath.add_elements(); });
  ExpectEnd(program_.Worker(), "no node and has no keys");
}

TEST_F(HostileProviderAgent, AKeyThatIsNoneEndsTheConnection) {
  Read([](cfm::agent::Keypath& keypath) {
    *keypath.add_elements()->add_keys() = Number(C_NOEXISTS, 0);
  });
  ExpectEnd(program_.Worker(), "a key of type 1");
}

TEST_F(HostileProviderAgent, AKeyBeyondItsTypeEndsTheConnection) {
  Read([](cfm::agent::Keypath& keypath) {
    *keypath.add_elements()->add_keys() = Number(C_INT32, INT64_MAX);
  });
  ExpectEnd(program_.Worker(), "does not fit");
}

TEST_F(HostileProviderAgent, AnActionParameterOfNoTypeEndsTheConnection) {
  program_.does.action = [](auto&&...) {
    ADD_FAILURE() << "performed";
    return CONFD_OK;
  };
  cfm::agent::PerformAction action;
  action.set_actionpoint("clear");
  *action.add_parameters()->mutable_value() = Number(99, 0);
  agent_.Act(action);
  ExpectEnd(program_.Worker(), "type 99");
}

TEST_F(HostileProviderAgent, AHangUpIsTheEnd) {
  agent_.Die();
  EXPECT_EQ(program_.WorkControl(), CONFD_EOF);
  EXPECT_EQ(program_.WorkWorker(), CONFD_EOF);
  EXPECT_EQ(program_.WorkWorker(), CONFD_EOF);
}

}  // namespace
