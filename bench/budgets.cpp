#include "budgets.h"

#include <algorithm>

namespace bench {
namespace {

struct Budget {
  const char* text;
  const char* figure;
  int n;
  int base_n;                // 0, or the budget is a ratio: this size is the divisor
  double Summary::*measure;  // which of the samples has to stay within
  double limit;              // may be reached
};

constexpr Budget kBudgets[] = {
    {"one-leaf commit, CPU of cfm-app and cfm-managerd", "cpu.leaf.both", 8000, 0, &Summary::median,
     5},
    {"commit of 8000 MEPs until the manager has applied it", "commit.new.applied", 8000, 0,
     &Summary::median, 150},
    {"restart until the manager has 8000 MEPs", "restart.applied", 8000, 0, &Summary::median, 100},
    {"status update at 8000 against 100", "status.update", 8000, 100, &Summary::median, 1.2},
    {"whole status table, every leaf", "read.table", 8000, 0, &Summary::median, 3000},
    {"idle wake-ups of agentd", "idle.wakeups.agentd", 8000, 0, &Summary::max, 0},
    {"idle wake-ups of cfm-app", "idle.wakeups.cfm-app", 8000, 0, &Summary::max, 0},
    {"resident memory of cfm-app", "memory.resident.cfm-app", 8000, 0, &Summary::median, 24},
};

const Figure* Find(const std::vector<Figure>& figures, const char* name, int n) {
  const auto found = std::ranges::find_if(
      figures, [&](const Figure& figure) { return figure.name == name && figure.n == n; });
  return found == figures.end() ? nullptr : &*found;
}

Judgement Judge(const Budget& budget, const std::vector<Figure>& figures) {
  Judgement judgement{.text = budget.text,
                      .limit = budget.limit,
                      .measured = std::nullopt,
                      .best = std::nullopt,
                      .unit = "",
                      .verdict = Verdict::kNotMeasured};
  const Figure* figure = Find(figures, budget.figure, budget.n);
  const Figure* base = budget.base_n == 0 ? nullptr : Find(figures, budget.figure, budget.base_n);
  if (figure == nullptr || (budget.base_n != 0 && base == nullptr)) {
    return judgement;
  }
  const auto value = [&](double Summary::*measure) {
    return figure->summary.*measure / (base == nullptr ? 1 : base->summary.*measure);
  };
  judgement.unit = base == nullptr ? TextOf(figure->unit) : "";
  judgement.measured = value(budget.measure);
  judgement.best = value(&Summary::min);
  judgement.verdict = *judgement.measured <= budget.limit ? Verdict::kMet : Verdict::kMissed;
  return judgement;
}

}  // namespace

std::vector<Judgement> Judge(const std::vector<Figure>& figures) {
  std::vector<Judgement> judgements;
  for (const Budget& budget : kBudgets) {
    judgements.push_back(Judge(budget, figures));
  }
  return judgements;
}

const char* TextOf(Verdict verdict) {
  constexpr const char* kTexts[] = {"met", "missed", "not measured"};
  return kTexts[static_cast<int>(verdict)];
}

}  // namespace bench
