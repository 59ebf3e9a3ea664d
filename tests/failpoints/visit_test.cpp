// Each fail point of each process is visited on purpose: the process is killed
// there, stands still there, or has a transfer go wrong there, and the element
// has to come round to what the operator was told.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <exception>
#include <memory>

#include "cases.h"
#include "operations.h"
#include "survivors.h"
#include "waker.h"

namespace {

using test::Case;
using test::Survivors;
using Target = test::Survivors::Target;

// The element goes from one test to the next, but not when it has failed, nor
// where managers died: the client that loses one after the other waits longer
// and longer before it looks for the next.
class FailPoint : public testing::TestWithParam<Case> {
 protected:
  static void TearDownTestSuite() { element_.reset(); }

  void SetUp() override {
    if (element_ == nullptr) {
      element_ = std::make_unique<Survivors>();
    }
  }
  void TearDown() override {
    if (HasFailure() || ItsTarget() == Target::kManagerd) {
      element_.reset();
    }
  }

  static Survivors& Element() { return *element_; }
  static Target ItsTarget() { return GetParam().target; }
  static test::Process& ItsProcess() { return Element().Of(ItsTarget()); }
  static void Arm() { Element().Arm(ItsTarget(), GetParam().FailPoint()); }

  // Runs one operation after the other until `is_enough` says so.
  template <typename IsEnough>
  static void Operate(IsEnough is_enough) {
    for (const test::Operation& operation : test::OperationsFor(ItsTarget())) {
      if (is_enough()) {
        return;
      }
      try {
        operation.run(Element());
      } catch (const std::exception&) {
        // A peer has gone away in the middle of it, as it may.
      }
      Element().Settle(ItsTarget());
    }
  }
  static void ExpectPassed() {
    EXPECT_THAT(Element().Passed(), testing::Contains(GetParam().point));
  }

 private:
  static std::unique_ptr<Survivors> element_;
};

std::unique_ptr<Survivors> FailPoint::element_;

std::string NameOfTest(const testing::TestParamInfo<Case>& info) {
  return test::NameOf(info.param);
}

class Kill : public FailPoint {};

TEST_P(Kill, LosesNothingAndLeavesNothingBehind) {
  Arm();
  Operate([] { return ItsProcess().Status().has_value(); });
  EXPECT_EQ(ItsProcess().AwaitExit(), 128 + SIGKILL);
  ASSERT_FALSE(Element().Passed().empty());
  EXPECT_EQ(Element().Passed().back(), GetParam().point);
  Element().ExpectAllIsWell(ItsTarget());
}

INSTANTIATE_TEST_SUITE_P(Agentd, Kill, testing::ValuesIn(test::CasesOf(Target::kAgentd, "kill")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(App, Kill, testing::ValuesIn(test::CasesOf(Target::kApp, "kill")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(Managerd, Kill,
                         testing::ValuesIn(test::CasesOf(Target::kManagerd, "kill")), NameOfTest);

// Later passes of the same points: of those that come often, and that a start
// alone passes before any operation. Not every point is passed so often.
class LaterKill : public FailPoint {};

TEST_P(LaterKill, LosesNothingAndLeavesNothingBehind) {
  Arm();
  Operate([] { return ItsProcess().Status().has_value(); });
  Element().Disarm(ItsTarget());
  ExpectPassed();
  Element().ExpectAllIsWell(ItsTarget());
}

INSTANTIATE_TEST_SUITE_P(Agentd, LaterKill,
                         testing::ValuesIn(test::LaterCasesOf(Target::kAgentd, "kill")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(App, LaterKill,
                         testing::ValuesIn(test::LaterCasesOf(Target::kApp, "kill")), NameOfTest);
INSTANTIATE_TEST_SUITE_P(Managerd, LaterKill,
                         testing::ValuesIn(test::LaterCasesOf(Target::kManagerd, "kill")),
                         NameOfTest);

class Fault : public FailPoint {};

TEST_P(Fault, IsOfOneTransferOnly) {
  Arm();
  Operate([] { return ItsProcess().Status().has_value(); });
  // Nobody but the daemon itself talks to the other two through its transfers;
  // a connection of cfmctl must not be what breaks.
  if (ItsTarget() != Target::kApp) {
    Element().Disarm(ItsTarget());
  }
  ExpectPassed();
  Element().ExpectAllIsWell(ItsTarget());
}

INSTANTIATE_TEST_SUITE_P(AgentdError, Fault,
                         testing::ValuesIn(test::CasesOf(Target::kAgentd, "error")), NameOfTest);
INSTANTIATE_TEST_SUITE_P(AgentdShort, Fault,
                         testing::ValuesIn(test::CasesOf(Target::kAgentd, "short")), NameOfTest);
INSTANTIATE_TEST_SUITE_P(AppError, Fault, testing::ValuesIn(test::CasesOf(Target::kApp, "error")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(AppShort, Fault, testing::ValuesIn(test::CasesOf(Target::kApp, "short")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(ManagerdError, Fault,
                         testing::ValuesIn(test::CasesOf(Target::kManagerd, "error")), NameOfTest);
INSTANTIATE_TEST_SUITE_P(ManagerdShort, Fault,
                         testing::ValuesIn(test::CasesOf(Target::kManagerd, "short")), NameOfTest);

INSTANTIATE_TEST_SUITE_P(AgentdLaterError, Fault,
                         testing::ValuesIn(test::LaterCasesOf(Target::kAgentd, "error")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(AgentdLaterShort, Fault,
                         testing::ValuesIn(test::LaterCasesOf(Target::kAgentd, "short")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(AppLaterError, Fault,
                         testing::ValuesIn(test::LaterCasesOf(Target::kApp, "error")), NameOfTest);
INSTANTIATE_TEST_SUITE_P(AppLaterShort, Fault,
                         testing::ValuesIn(test::LaterCasesOf(Target::kApp, "short")), NameOfTest);
INSTANTIATE_TEST_SUITE_P(ManagerdLaterError, Fault,
                         testing::ValuesIn(test::LaterCasesOf(Target::kManagerd, "error")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(ManagerdLaterShort, Fault,
                         testing::ValuesIn(test::LaterCasesOf(Target::kManagerd, "short")),
                         NameOfTest);

class Stop : public FailPoint {
 protected:
  // A process that has not stood still by the end is ended: the waker waits for
  // one of the two.
  static void ExpectWoken(const test::Waker& waker) {
    Operate([&] { return waker.HasWoken(); });
    if (!waker.AwaitWoken()) {
      ADD_FAILURE() << "the process did not stand still";
      ItsProcess().Signal(SIGKILL);
      ItsProcess().AwaitExit();
    }
  }
};

// A process that stands still while it starts keeps Arm waiting, so the waker
// has to know it before.
TEST_P(Stop, IsMadeGoodWhenTheProcessGoesOnAtOnce) {
  Element().Stop(ItsTarget());
  Element().Launch(ItsTarget(), GetParam().FailPoint());
  const test::Waker waker(ItsProcess(), [] {});
  Element().AwaitReady(ItsTarget());
  ExpectWoken(waker);
  ExpectPassed();
  Element().ExpectAllIsWell(ItsTarget());
}

INSTANTIATE_TEST_SUITE_P(Agentd, Stop, testing::ValuesIn(test::CasesOf(Target::kAgentd, "stop")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(App, Stop, testing::ValuesIn(test::CasesOf(Target::kApp, "stop")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(Managerd, Stop,
                         testing::ValuesIn(test::CasesOf(Target::kManagerd, "stop")), NameOfTest);

class LongStop : public Stop {};

TEST_P(LongStop, IsMadeGoodWhenTheAgentHasGivenTheDaemonUp) {
  constexpr const char* kGivenUp = "did not answer in time";
  test::Process& agent = Element().Of(Target::kAgentd);
  const int before = agent.CountInLog(kGivenUp);
  Element().Stop(ItsTarget());
  Element().Launch(ItsTarget(), GetParam().FailPoint());
  bool is_given_up = false;
  {
    const test::Waker waker(ItsProcess(),
                            [&] { is_given_up = agent.AwaitLog(kGivenUp, before + 1); });
    Element().AwaitReady(ItsTarget());
    ExpectWoken(waker);
  }
  EXPECT_TRUE(is_given_up);
  Element().ExpectAllIsWell(ItsTarget());
}

INSTANTIATE_TEST_SUITE_P(App, LongStop, testing::ValuesIn(test::CasesOfImpatience()), NameOfTest);

}  // namespace
