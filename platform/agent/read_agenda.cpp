#include "read_agenda.h"

#include <algorithm>

namespace agentd {

std::optional<ReadAgenda::Item> ReadAgenda::Front(const Skip& skip) {
  if (const auto held = HeldFront(skip)) {
    return Item{*held, true};
  }
  while (const auto question = PlanFront()) {
    Callpoint& callpoint = callpoints_[question->leaf->callpoint];
    if (callpoint.delayed > 0) {
      callpoint.held.push_back(*question);
    } else if (!skip(*question)) {
      return Item{*question, false};
    }
    PopPlan();
  }
  return std::nullopt;
}

std::optional<ReadAgenda::Question> ReadAgenda::HeldFront(const Skip& skip) {
  for (auto& [name, callpoint] : callpoints_) {
    while (callpoint.delayed == 0 && !callpoint.held.empty()) {
      const Question question = callpoint.held.front();
      if (!skip(question)) {
        return question;
      }
      callpoint.held.pop_front();
    }
  }
  return std::nullopt;
}

std::optional<ReadAgenda::Question> ReadAgenda::PlanFront() {
  return returned_.empty() ? plan_.Front() : returned_.front();
}

void ReadAgenda::PopPlan() {
  if (returned_.empty()) {
    plan_.Pop();
  } else {
    returned_.pop_front();
  }
}

void ReadAgenda::Pop(const Item& item) {
  if (item.was_held) {
    callpoints_[item.question.leaf->callpoint].held.pop_front();
  } else {
    PopPlan();
  }
}

void ReadAgenda::Return(const std::vector<Item>& items) {
  for (auto item = items.rbegin(); item != items.rend(); ++item) {
    auto& from = item->was_held ? callpoints_[item->question.leaf->callpoint].held : returned_;
    from.push_front(item->question);
  }
}

bool ReadAgenda::IsEmpty() {
  return !PlanFront() && std::ranges::all_of(callpoints_, [](const auto& each) {
    return each.second.held.empty();
  });
}

}  // namespace agentd
