#include "read_answers.h"

#include "typed_value.h"

namespace agentd {
namespace {

using cfm::agent::ProviderReply;

// A provider that finds no end of a leaf-list is at fault.
constexpr std::size_t kMaxElements = 65536;

std::string Forbidden(const std::string& who, const Result<std::string>& text) {
  return who + " answered what the model forbids: " + text.Why().front().message;
}

}  // namespace

void ReadAnswers::Omit(const Question& question, const std::string& cause) {
  omissions_.Add(cause, question.leaf->schema->name, question.target);
}

void ReadAnswers::TakeValue(const Question& question, const ProviderReply& reply,
                            const std::string& who) {
  if (reply.result() == ProviderReply::ERROR) {
    Omit(question, who + " answered: " + reply.error());
  } else if (reply.result() == ProviderReply::OK) {
    auto text = CheckedText(model_, *question.leaf->schema, reply.value());
    if (text) {
      plan_.At(question).values.emplace_back(question.leaf->schema, std::move(*text));
    } else {
      Omit(question, Forbidden(who, text));
    }
  }
}

bool ReadAnswers::TakeSteps(Walk& walk, const ProviderReply& reply, const std::string& who) {
  walk.is_waiting = reply.result() == ProviderReply::DELAYED;
  if (reply.result() == ProviderReply::ERROR) {
    walk.failure = who + " answered: " + reply.error();
  } else {
    TakeElements(walk, reply, who);
  }
  if (walk.is_waiting) {
    return true;
  }
  if (!walk.failure.empty()) {
    Omit(walk.question, walk.failure);
    return false;
  }
  if (reply.result() == ProviderReply::OK && !reply.keys().empty() && reply.next() != -1) {
    walk.next = reply.next();
    return true;
  }
  for (std::string& element : walk.elements) {
    plan_.At(walk.question).values.emplace_back(walk.question.leaf->schema, std::move(element));
  }
  return false;
}

void ReadAnswers::TakeElements(Walk& walk, const ProviderReply& reply, const std::string& who) {
  for (auto key = reply.keys().begin(); key != reply.keys().end() && walk.failure.empty(); ++key) {
    auto text = CheckedText(model_, *walk.question.leaf->schema, *key);
    if (!text) {
      walk.failure = Forbidden(who, text);
    } else if (walk.elements.size() == kMaxElements) {
      walk.failure = who + " finds no end";
    } else {
      walk.elements.push_back(std::move(*text));
    }
  }
}

}  // namespace agentd
