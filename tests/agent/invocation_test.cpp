// Parameters of operations against the model.
#include "invocation.h"

#include <confd_lib.h>

#include "fixture.h"

namespace agentd::test {
namespace {

using ::testing::HasSubstr;

pb::Invoke Clear(const std::vector<std::pair<std::string, std::string>>& parameters) {
  pb::Invoke invoke;
  invoke.set_operation("clear-statistics");
  for (const auto& [name, value] : parameters) {
    auto& parameter = *invoke.add_parameters();
    parameter.set_name(name);
    parameter.set_value(value);
  }
  return invoke;
}

Result<pb::PerformAction> Make(const pb::Invoke& invoke) {
  static const ProviderModel providers(TheModel());
  return MakeAction(TheModel(), providers, invoke);
}

TEST(Invocation, ParametersBecomeTypedValuesInTheOrderGiven) {
  const auto action = Make(Clear({{"mep", "7"}, {"md", "a b'\""}}));
  ASSERT_TRUE(action);
  EXPECT_EQ(action->actionpoint(), "clear_cfm_statistics");
  EXPECT_EQ(action->name(), HashOfName("clear-statistics"));
  ASSERT_EQ(action->parameters_size(), 2);
  EXPECT_EQ(action->parameters(0).tag(), 0x2b20e37eU);
  EXPECT_EQ(action->parameters(0).ns(), 0x76d9c9b9U);
  EXPECT_EQ(action->parameters(0).value().type(), C_INT32);
  EXPECT_EQ(action->parameters(0).value().number(), 7);
  EXPECT_EQ(action->parameters(1).tag(), 0x5baff9dcU);
  EXPECT_EQ(action->parameters(1).value().type(), C_BUF);
  EXPECT_EQ(action->parameters(1).value().text(), "a b'\"");
}

TEST(Invocation, NoParametersAreFine) {
  const auto action = Make(Clear({}));
  ASSERT_TRUE(action);
  EXPECT_EQ(action->parameters_size(), 0);
}

TEST(Invocation, WhatTheModelForbidsIsRefusedWithItsRule) {
  const auto bad = Make(Clear({{"mep", "8192"}}));
  ASSERT_FALSE(bad);
  EXPECT_EQ(bad.Why().front().path, "/clear-statistics/mep");
  EXPECT_EQ(bad.Why().front().rule, "range 0..8191");
  const auto unknown = Make(Clear({{"mip", "1"}}));
  ASSERT_FALSE(unknown);
  EXPECT_THAT(unknown.Why().front().message, HasSubstr("it has: md, ma, mep"));
  const auto twice = Make(Clear({{"mep", "1"}, {"mep", "1"}}));
  ASSERT_FALSE(twice);
  EXPECT_THAT(twice.Why().front().message, HasSubstr("twice"));
}

TEST(Invocation, AnOperationThatThereIsNotIsNamed) {
  pb::Invoke invoke;
  invoke.set_operation("reboot");
  const auto action = Make(invoke);
  ASSERT_FALSE(action);
  EXPECT_THAT(action.Why().front().message, HasSubstr("no operation 'reboot'"));
}

}  // namespace
}  // namespace agentd::test
