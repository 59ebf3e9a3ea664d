#include "record_view.h"

#include <fmt/format.h>

#include <regex>
#include <stdexcept>

namespace test {
namespace {

RecordView::Key KeyOf(const std::string& path) {
  static const std::regex kPath(R"(.*/(local|remote)\[id='([0-9]+)'\])");
  std::smatch match;
  if (!std::regex_match(path, match, kPath)) {
    throw std::runtime_error("the watcher was told of " + path);
  }
  return {match[1], match[2]};
}

}  // namespace

void RecordView::Take(const cfm::agent::Reply& reply) {
  if (!reply.errors().empty()) {
    throw std::runtime_error("watch: " + reply.errors(0).message());
  }
  for (const cfm::agent::OperationalChange& change : reply.operational()) {
    Apply(change);
  }
}

void RecordView::Apply(const cfm::agent::OperationalChange& change) {
  const Key key = KeyOf(change.path());
  if (!change.has_entry()) {
    if (records_.erase(key) == 0) {
      throw std::runtime_error(change.path() + " went away but was never there");
    }
    return;
  }
  const StatusRecord record = RecordOf(change.entry());
  CheckValues(record);
  const auto [known, is_new] = records_.try_emplace(key);
  if (is_new) {
    known->second.incarnation = ++incarnations_;
  }
  const auto identity = record.Identity();
  if (known->second.identity && known->second.identity != identity) {
    throw std::runtime_error(fmt::format("{} was that of {} and became another's", change.path(),
                                         ToText(*known->second.identity)));
  }
  known->second.identity = identity;
}

std::multiset<RecordIdentity> RecordView::Identities() const {
  std::multiset<RecordIdentity> identities;
  for (const auto& [key, known] : records_) {
    identities.insert(known.identity.value_or(RecordIdentity{key.list, "?", "?", 0}));
  }
  return identities;
}

void RecordView::CheckMissing() {
  for (const auto& [key, known] : missing_) {
    const auto found = records_.find(key);
    if (found != records_.end() && found->second.incarnation == known.incarnation) {
      throw std::runtime_error(fmt::format("{}[id={}] was said to be gone and is there: {}",
                                           key.list, key.id,
                                           known.identity ? ToText(*known.identity) : "unnamed"));
    }
  }
  missing_.clear();
}

}  // namespace test
