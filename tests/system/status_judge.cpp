#include "status_judge.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace test {
namespace {

// What is wrong with one computed leaf under one version; empty: nothing.
std::string Mismatch(const Answer& answer, const std::string& leaf,
                     const ExpectedStatus& expected) {
  const auto told = answer.record.leaves.find(leaf);
  const bool is_there = told != answer.record.leaves.end();
  const auto say = [&](const std::string& what) {
    return fmt::format("{}[id={}]/{} {} ({})", answer.record.list, answer.record.id, leaf, what,
                       answer.identity ? ToText(*answer.identity) : "unnamed");
  };
  const auto configured =
      answer.identity ? expected.configured.find(*answer.identity) : expected.configured.end();
  if (configured == expected.configured.end()) {
    return is_there ? say("is told of what is not configured") : "";
  }
  const auto right = configured->second.find(leaf);
  const bool is_known = right != configured->second.end();
  if (!is_there) {
    const bool may_be_empty = leaf == "remote-mep-ids" && !is_known;
    return answer.is_settled && !may_be_empty ? say("is missing") : "";
  }
  if (leaf == "remote-mep-ids" && !is_known) {
    return say("is there and should be empty");
  }
  if (is_known && right->second != told->second) {
    return say(fmt::format("is {} and should be {}", fmt::join(told->second, " "),
                           fmt::join(right->second, " ")));
  }
  return "";
}

std::vector<std::string> ComputedLeaves(const Answer& answer, const Question& question) {
  std::vector<std::string> names;
  for (const StatusLeaf& leaf : LeavesOf(answer.record.list)) {
    if (leaf.is_computed && (question.leaf.empty() || question.leaf == leaf.name)) {
      names.emplace_back(leaf.name);
    }
  }
  return names;
}

std::string Mismatch(const std::vector<Answer>& answers, const Question& question,
                     const ExpectedStatus& expected) {
  for (const Answer& answer : answers) {
    for (const std::string& leaf : ComputedLeaves(answer, question)) {
      if (std::string what = Mismatch(answer, leaf, expected); !what.empty()) {
        return what;
      }
    }
  }
  return "";
}

// No version fits: why the latest one does not.
void CheckOneVersion(const std::vector<Answer>& answers, const Question& question,
                     const ConfigurationHistory& history) {
  std::string what;
  for (std::size_t version = question.versions.first; version <= question.versions.last;
       ++version) {
    what = Mismatch(answers, question, history.At(version));
    if (what.empty()) {
      return;
    }
  }
  throw std::runtime_error(
      fmt::format("{}; versions {} to {}", what, question.versions.first, question.versions.last));
}

void CheckIdentities(const std::vector<Answer>& answers, const ConfigurationHistory& history) {
  std::set<RecordIdentity> seen;
  for (const Answer& answer : answers) {
    if (!answer.identity) {
      if (answer.is_settled) {
        throw std::runtime_error(
            fmt::format("{}[id={}] has lost its names", answer.record.list, answer.record.id));
      }
      continue;
    }
    if (!seen.insert(*answer.identity).second) {
      throw std::runtime_error("two records of " + ToText(*answer.identity));
    }
    if (!history.WasConfigured(*answer.identity, history.All())) {
      throw std::runtime_error("a record of what was not configured: " + ToText(*answer.identity));
    }
  }
}

}  // namespace

void CheckAnswers(const std::vector<Answer>& answers, const Question& question,
                  const ConfigurationHistory& history) {
  for (const Answer& answer : answers) {
    CheckValues(answer.record);
  }
  CheckIdentities(answers, history);
  if (!question.is_mixed) {
    return CheckOneVersion(answers, question, history);
  }
  for (const Answer& answer : answers) {
    for (const std::string& leaf : ComputedLeaves(answer, question)) {
      Question one = question;
      one.leaf = leaf;
      CheckOneVersion({answer}, one, history);
    }
  }
}

void CheckAtRest(const std::vector<StatusRecord>& records, const ConfigurationHistory& history) {
  const std::size_t latest = history.All().last;
  std::vector<Answer> answers;
  std::set<RecordIdentity> told;
  for (const StatusRecord& record : records) {
    answers.push_back({record, record.Identity(), true});
    for (const StatusLeaf& leaf : LeavesOf(record.list)) {
      if (!leaf.is_computed && !record.leaves.contains(leaf.name)) {
        throw std::runtime_error(
            fmt::format("{}[id={}] has no {} at rest", record.list, record.id, leaf.name));
      }
    }
  }
  CheckAnswers(answers, {.leaf = {}, .versions = {latest, latest}}, history);
  for (const Answer& answer : answers) {
    told.insert(*answer.identity);
  }
  const auto refuse = [](const char* what, const auto& left, const auto& right) {
    std::vector<RecordIdentity> only;
    std::ranges::set_difference(left, right, std::back_inserter(only));
    if (!only.empty()) {
      throw std::runtime_error(
          fmt::format("{} at rest: {} ({} in all)", what, ToText(only.front()), only.size()));
    }
  };
  refuse("a record is left over", told, history.Latest().published);
  refuse("a record is missing", history.Latest().published, told);
}

}  // namespace test
