// What handlers do that override nothing.
#include <gtest/gtest.h>
#include <velconfd/handlers.h>

namespace test {
namespace {

class PlainCallpoint : public velconfd::DataHandler::Callpoint {
 public:
  const char* GetCallpoint() override { return "plain"; }
};

class PlainStatus : public velconfd::StatusHandler {
 public:
  PlainStatus() : StatusHandler(false, false, false) {}
  const std::vector<Callpoint*>& GetCallpoints() const override { return callpoints_; }

 private:
  std::vector<Callpoint*> callpoints_;
};

class PlainAction : public velconfd::ActionHandler {
 public:
  const char* GetActionPoint() const override { return "plain"; }
  int ActionCb(confd_user_info*, xml_tag*, confd_hkeypath_t*, confd_tag_value_t*, int) override {
    return CONFD_OK;
  }
};

TEST(HandlerDefaults, ACallpointRefusesEveryRequest) {
  PlainCallpoint plain;
  EXPECT_EQ(plain.ExistsOptionalCallback(nullptr, nullptr), CONFD_ERR);
  EXPECT_EQ(plain.GetNextCallback(nullptr, nullptr, -1), CONFD_ERR);
  EXPECT_EQ(plain.GetElemCallback(nullptr, nullptr), CONFD_ERR);
  EXPECT_EQ(plain.SetElemCallback(nullptr, nullptr, nullptr), CONFD_ERR);
  EXPECT_EQ(plain.CreateCallback(nullptr, nullptr), CONFD_ERR);
  EXPECT_EQ(plain.RemoveCallback(nullptr, nullptr), CONFD_ERR);
  EXPECT_EQ(plain.NumInstancesCallback(nullptr, nullptr), CONFD_ERR);
  EXPECT_EQ(plain.GetObjectCallback(nullptr, nullptr), CONFD_ERR);
  EXPECT_EQ(plain.GetNextObjectCallback(nullptr, nullptr, -1), CONFD_ERR);
  EXPECT_EQ(plain.FindNextObjectCallback(nullptr, nullptr, CONFD_FIND_NEXT, nullptr, 0), CONFD_ERR);
  EXPECT_EQ(plain.WriteAllCallback(nullptr, nullptr), CONFD_ERR);
}

TEST(HandlerDefaults, ATransactionIsAccepted) {
  PlainStatus plain;
  EXPECT_EQ(plain.TransactionInit(nullptr), CONFD_OK);
  EXPECT_EQ(plain.TransactionFinish(nullptr), CONFD_OK);
}

TEST(HandlerDefaults, CompletionIsRefused) {
  PlainAction plain;
  EXPECT_EQ(plain.CompletionCb(nullptr, 0, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
            CONFD_ERR);
}

}  // namespace
}  // namespace test
