// What the providers have answered to a read.
#ifndef AGENT_READ_ANSWERS_H
#define AGENT_READ_ANSWERS_H

#include <string>
#include <vector>

#include "omissions.h"
#include "read_plan.h"

namespace agentd {

// A walk through a leaf-list that takes more than one reply.
struct Walk {
  ReadPlan::Question question;
  std::int64_t next = -1;
  bool is_waiting = false;  // for a reply
  std::vector<std::string> elements{};
  std::string failure{};  // why it is given up with the next reply
};

class ReadAnswers {
 public:
  using Question = ReadPlan::Question;

  ReadAnswers(const Model& model, ReadPlan& plan) : model_(model), plan_(plan) {}

  // `who` is the provider, for people.
  void TakeValue(const Question& question, const cfm::agent::ProviderReply& reply,
                 const std::string& who);
  // Whether the walk goes on.
  bool TakeSteps(Walk& walk, const cfm::agent::ProviderReply& reply, const std::string& who);
  // There is no answer: the cause is noted.
  void Omit(const Question& question, const std::string& cause);

  const Omissions& Omitted() const { return omissions_; }

 private:
  void TakeElements(Walk& walk, const cfm::agent::ProviderReply& reply, const std::string& who);

  const Model& model_;
  ReadPlan& plan_;
  Omissions omissions_;
};

}  // namespace agentd

#endif
