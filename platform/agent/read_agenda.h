// In which order a read asks its questions.
//
// That of the plan; but a callpoint that delays a reply is not asked again
// before that comes: the provider is fetching, and the next reply may be ready
// then. What it is to be asked is held, and goes before all else once the reply
// is there. Questions that were drawn and came back unasked are drawn again as if
// they had not been.
#ifndef AGENT_READ_AGENDA_H
#define AGENT_READ_AGENDA_H

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "read_plan.h"

namespace agentd {

class ReadAgenda {
 public:
  using Question = ReadPlan::Question;
  struct Item {
    Question question;
    bool was_held = false;
  };
  // Whether the question need not, or cannot, be asked; it is dropped then.
  using Skip = std::function<bool(const Question& question)>;

  explicit ReadAgenda(ReadPlan plan) : plan_(std::move(plan)) {}

  ReadPlan& Plan() { return plan_; }
  const ReadPlan& Plan() const { return plan_; }

  // The next question; nothing when there is none, or when those that are left
  // wait for a reply.
  std::optional<Item> Front(const Skip& skip);
  // Draws what Front gave.
  void Pop(const Item& item);
  // Items that were drawn last, in the order of their drawing.
  void Return(const std::vector<Item>& items);

  // A reply of the callpoint is delayed; and it came, or is given up.
  void Delayed(const std::string& callpoint) { ++callpoints_[callpoint].delayed; }
  void NoLongerDelayed(const std::string& callpoint) { --callpoints_[callpoint].delayed; }

  // Whether nothing is left, held or not.
  bool IsEmpty();

 private:
  struct Callpoint {
    std::size_t delayed = 0;
    std::deque<Question> held{};
  };

  std::optional<Question> HeldFront(const Skip& skip);
  std::optional<Question> PlanFront();
  void PopPlan();

  ReadPlan plan_;
  std::deque<Question> returned_;  // of the plan
  std::map<std::string, Callpoint> callpoints_;
};

}  // namespace agentd

#endif
