#include "budgets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace bench {
namespace {

Figure MakeFigure(const std::string& name, int n, std::vector<double> samples) {
  return {
      .name = name, .n = n, .unit = Unit::kMilliseconds, .summary = Summarize(std::move(samples))};
}

Judgement Find(const std::vector<Figure>& figures, const std::string& text) {
  const std::vector<Judgement> judgements = Judge(figures);
  const auto found = std::ranges::find(judgements, text, &Judgement::text);
  return found == judgements.end() ? throw std::runtime_error("no budget: " + text) : *found;
}

TEST(Budgets, JudgeTheMedianAndShowTheBest) {
  const std::string budget = "commit of 8000 MEPs until the manager has applied it";
  const Judgement met = Find({MakeFigure("commit.new.applied", 8000, {100, 150, 900})}, budget);
  EXPECT_EQ(met.verdict, Verdict::kMet);
  EXPECT_EQ(met.measured, 150);
  EXPECT_EQ(met.best, 100);
  const Judgement missed = Find({MakeFigure("commit.new.applied", 8000, {100, 151, 900})}, budget);
  EXPECT_EQ(missed.verdict, Verdict::kMissed);
}

TEST(Budgets, OfAnotherSizeSayNothing) {
  EXPECT_EQ(Find({MakeFigure("commit.new.applied", 4000, {1})},
                 "commit of 8000 MEPs until the manager has applied it")
                .verdict,
            Verdict::kNotMeasured);
}

TEST(Budgets, ARatioNeedsBothSizes) {
  const std::string budget = "status update at 8000 against 100";
  const Figure large = MakeFigure("status.update", 8000, {120});
  EXPECT_EQ(Find({large}, budget).verdict, Verdict::kNotMeasured);
  const Judgement met = Find({large, MakeFigure("status.update", 100, {100})}, budget);
  EXPECT_EQ(met.measured, 1.2);
  EXPECT_EQ(met.verdict, Verdict::kMet);
  EXPECT_EQ(Find({large, MakeFigure("status.update", 100, {99})}, budget).verdict,
            Verdict::kMissed);
}

TEST(Budgets, OneWakeUpAtRestIsTooMany) {
  const std::string budget = "idle wake-ups of cfm-app";
  EXPECT_EQ(Find({MakeFigure("idle.wakeups.cfm-app", 8000, {0, 0, 0})}, budget).verdict,
            Verdict::kMet);
  EXPECT_EQ(Find({MakeFigure("idle.wakeups.cfm-app", 8000, {0, 0, 0.5})}, budget).verdict,
            Verdict::kMissed);
}

}  // namespace
}  // namespace bench
