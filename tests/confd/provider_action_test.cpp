#include <gmock/gmock.h>

#include "confd/data_tree.h"
#include "confd/provider_program.h"

namespace {

using cfm::agent::PerformAction;
using cfm::agent::ProviderReply;
using test::Number;
using testing::HasSubstr;

class ProviderAction : public test::ProviderTest {
 protected:
  static PerformAction Clear() {
    PerformAction action;
    action.set_actionpoint("clear");
    action.set_user("admin");
    action.set_name(0x55);
    action.set_ns(0x76d9c9b9);
    return action;
  }

  static void Add(PerformAction& action, std::uint32_t tag, const cfm::agent::Value& value) {
    auto& parameter = *action.add_parameters();
    parameter.set_tag(tag);
    parameter.set_ns(9);
    *parameter.mutable_value() = value;
  }

  ProviderReply Perform(const PerformAction& action) {
    const auto id = agent_.Act(action);
    result_ = program_.WorkWorker();
    auto reply = agent_.Take(agent_.Worker());
    EXPECT_EQ(reply.id(), id);
    return reply;
  }

  int result_ = CONFD_OK;
};

TEST_F(ProviderAction, TheProgramLearnsWhoAsksForWhat) {
  program_.does.action = [this](confd_user_info* user, xml_tag* name, confd_hkeypath_t* keypath,
                                confd_tag_value_t*, int count) {
    EXPECT_STREQ(user->username, "admin");
    EXPECT_EQ(user->actionfd, program_.Worker());
    EXPECT_EQ(user->dx, program_.Daemon());
    EXPECT_STREQ(static_cast<const char*>(user->cb_opaque), "of clear");
    EXPECT_EQ(name->tag, 0x55U);
    EXPECT_EQ(name->ns, 0x76d9c9b9U);
    EXPECT_EQ(keypath->len, 0);
    EXPECT_EQ(count, 0);
    return CONFD_OK;
  };
  EXPECT_EQ(Perform(Clear()).result(), ProviderReply::OK);
  EXPECT_EQ(result_, CONFD_OK);
}

TEST_F(ProviderAction, ParametersComeInOrderWithTheirTypes) {
  PerformAction action = Clear();
  Add(action, 1, test::Text("east"));
  Add(action, 2, test::Int32(-3));
  Add(action, 3, Number(C_UINT64, -1));
  Add(action, 4, Number(C_BOOL, 1));
  Add(action, 5, Number(C_ENUM_VALUE, 2));
  Add(action, 6, Number(C_XMLTAG, 0));
  Add(action, 7, test::List({test::Int32(10), test::Int32(20)}));
  Add(action, 8, Number(C_INT8, -8));
  Add(action, 9, Number(C_UINT16, 65535));
  program_.does.action = [](confd_user_info*, xml_tag*, confd_hkeypath_t*, confd_tag_value_t* given,
                            int count) {
    EXPECT_EQ(count, 9);
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(given[i].tag.tag, static_cast<std::uint32_t>(i + 1));
      EXPECT_EQ(given[i].tag.ns, 9U);
    }
    EXPECT_EQ(given[0].v.type, C_BUF);
    EXPECT_EQ(CONFD_GET_BUFSIZE(&given[0].v), 4U);
    EXPECT_STREQ(CONFD_GET_CBUFPTR(&given[0].v), "east");
    EXPECT_EQ(given[1].v.type, C_INT32);
    EXPECT_EQ(CONFD_GET_INT32(&given[1].v), -3);
    EXPECT_EQ(CONFD_GET_UINT64(&given[2].v), UINT64_MAX);
    EXPECT_EQ(CONFD_GET_BOOL(&given[3].v), 1);
    EXPECT_EQ(CONFD_GET_ENUM_VALUE(&given[4].v), 2);
    EXPECT_EQ(given[5].v.type, C_XMLTAG);
    EXPECT_EQ(CONFD_GET_LISTSIZE(&given[6].v), 2U);
    EXPECT_EQ(CONFD_GET_INT32(&CONFD_GET_LIST(&given[6].v)[1]), 20);
    EXPECT_EQ(CONFD_GET_INT8(&given[7].v), -8);
    EXPECT_EQ(CONFD_GET_UINT16(&given[8].v), 65535);
    return CONFD_OK;
  };
  EXPECT_EQ(Perform(action).result(), ProviderReply::OK);
}

TEST_F(ProviderAction, AUsersNameIsCutToItsPlace) {
  PerformAction action = Clear();
  action.set_user(std::string(1000, 'u'));
  program_.does.action = [](confd_user_info* user, xml_tag*, confd_hkeypath_t*, confd_tag_value_t*,
                            int) {
    EXPECT_EQ(std::string(user->username).size(), sizeof(user->username) - 1);
    return CONFD_OK;
  };
  EXPECT_EQ(Perform(action).result(), ProviderReply::OK);
}

TEST_F(ProviderAction, AFailureIsToldToTheAgentAndTheProgram) {
  program_.does.action = [](auto&&...) { return CONFD_ERR; };
  EXPECT_EQ(Perform(Clear()).error(), "action point clear: the callback failed");
  EXPECT_EQ(result_, CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_EXTERNAL);
}

TEST_F(ProviderAction, AnActionIsNotDelayed) {
  program_.does.action = [](auto&&...) { return CONFD_DELAYED_RESPONSE; };
  EXPECT_EQ(Perform(Clear()).result(), ProviderReply::ERROR);
}

TEST_F(ProviderAction, InitMayRefuse) {
  program_.does.action = [](auto&&...) {
    ADD_FAILURE() << "performed";
    return CONFD_OK;
  };
  program_.does.action_init = [](confd_user_info*) { return CONFD_ERR; };
  EXPECT_THAT(Perform(Clear()).error(), HasSubstr("the init callback failed"));
  program_.does.action_init = nullptr;
  program_.does.names_worker = false;
  EXPECT_THAT(Perform(Clear()).error(), HasSubstr("named no worker socket"));
}

TEST_F(ProviderAction, AnUnknownActionPointIsRefused) {
  PerformAction action = Clear();
  action.set_actionpoint("other");
  EXPECT_EQ(Perform(action).error(), "the program has no action point other");
  EXPECT_EQ(result_, CONFD_OK);
}

}  // namespace
