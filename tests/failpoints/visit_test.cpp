// Each fail point of each process is visited on purpose: the process is killed
// there, stands still there, or has a transfer go wrong there, and the element
// has to come round to what the operator was told.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <exception>
#include <map>
#include <memory>

#include "cases.h"
#include "hits.h"
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
    if (HasFailed()) {
      test::NoteHit({NameOf(ItsTarget()), GetParam().point, GetParam().action});
    }
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
  static void Operate(IsEnough is_enough, bool with_long_ones = true) {
    for (const test::Operation& operation : test::OperationsFor(ItsTarget())) {
      if (is_enough()) {
        return;
      }
      if (operation.is_long && !with_long_ones) {
        continue;
      }
      try {
        operation.run(Element());
      } catch (const std::exception&) {
        // A peer has gone away in the middle of it, as it may.
      }
      Element().Settle(ItsTarget());
    }
  }
  // Whether it came to the point often enough to fail there.
  static bool HasFailed() { return Element().HasFailed(GetParam().Target()); }

 private:
  static std::unique_ptr<Survivors> element_;
};

std::unique_ptr<Survivors> FailPoint::element_;

// Later passes of a point, of which there may be fewer. Who has too few once
// has too few for all that come later.
class LaterPass : public FailPoint {
 protected:
  static bool IsTooLate() {
    const auto found = too_late_.find(PointAndAction());
    return found != too_late_.end() && GetParam().skip >= found->second;
  }
  static void NoteTooLate() { too_late_.try_emplace(PointAndAction(), GetParam().skip); }

 private:
  static std::string PointAndAction() { return GetParam().point + GetParam().action; }

  static std::map<std::string, int> too_late_;
};

std::map<std::string, int> LaterPass::too_late_;

std::string NameOfTest(const testing::TestParamInfo<Case>& info) {
  return test::NameOf(info.param);
}

class Kill : public FailPoint {};

TEST_P(Kill, LosesNothingAndLeavesNothingBehind) {
  Arm();
  Operate([] { return ItsProcess().Status().has_value(); });
  EXPECT_EQ(ItsProcess().AwaitExit(), 128 + SIGKILL);
  ASSERT_FALSE(Element().Passed().empty());
  EXPECT_EQ(Element().Passed().back(), GetParam().Target());
  Element().ExpectAllIsWell(ItsTarget());
}

INSTANTIATE_TEST_SUITE_P(Agentd, Kill, testing::ValuesIn(test::CasesOf(Target::kAgentd, "kill")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(App, Kill, testing::ValuesIn(test::CasesOf(Target::kApp, "kill")),
                         NameOfTest);
INSTANTIATE_TEST_SUITE_P(Managerd, Kill,
                         testing::ValuesIn(test::CasesOf(Target::kManagerd, "kill")), NameOfTest);

// Later passes of the same points: of those that come often, and that a start
// alone passes before any operation.
class LaterKill : public LaterPass {};

TEST_P(LaterKill, LosesNothingAndLeavesNothingBehind) {
  if (IsTooLate()) {
    GTEST_SKIP() << "the point is not passed so often";
  }
  Arm();
  Operate([] { return ItsProcess().Status().has_value(); }, false);
  if (!HasFailed()) {
    NoteTooLate();
  }
  Element().End(ItsTarget());
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

class Fault : public LaterPass {};

TEST_P(Fault, IsOfOneTransferOnly) {
  if (IsTooLate()) {
    GTEST_SKIP() << "the point is not passed so often";
  }
  Arm();
  Operate([] { return HasFailed() || ItsProcess().Status().has_value(); }, false);
  EXPECT_TRUE(HasFailed() || GetParam().skip > 0);
  // From now on no connection of cfmctl is what breaks.
  if (!HasFailed()) {
    NoteTooLate();
    Element().End(ItsTarget());
  }
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
  const test::Waker waker(Element(), ItsTarget(), GetParam().Target(), [] {});
  Element().AwaitReady(ItsTarget());
  ExpectWoken(waker);
  EXPECT_TRUE(HasFailed());
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
  constexpr const char* kGivenUp = "gave no sign of life";
  test::Process& agent = Element().Of(Target::kAgentd);
  const int before = agent.CountInLog(kGivenUp);
  Element().Stop(ItsTarget());
  Element().Launch(ItsTarget(), GetParam().FailPoint());
  bool is_given_up = false;
  {
    const test::Waker waker(Element(), ItsTarget(), GetParam().Target(),
                            [&] { is_given_up = agent.AwaitLog(kGivenUp, before + 1); });
    Element().AwaitReady(ItsTarget());
    ExpectWoken(waker);
  }
  EXPECT_TRUE(is_given_up);
  Element().ExpectAllIsWell(ItsTarget());
}

INSTANTIATE_TEST_SUITE_P(App, LongStop, testing::ValuesIn(test::CasesOfImpatience()), NameOfTest);

}  // namespace
