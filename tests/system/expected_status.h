// What the status of a configuration has to be, and the configurations that
// hold while a read is under way.
#ifndef TESTS_SYSTEM_EXPECTED_STATUS_H
#define TESTS_SYSTEM_EXPECTED_STATUS_H

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "random_configuration.h"
#include "status_record.h"

namespace test {

struct ExpectedStatus {
  // The MEPs that are configured, with those computed leaves that follow from
  // the configuration.
  std::map<RecordIdentity, Leaves> configured;
  // Of them those that have a record at rest: a remote MEP has none as long as
  // no local MEP looks out for it.
  std::set<RecordIdentity> published;
};

ExpectedStatus ExpectedStatusOf(const Configuration& configuration);

// The configurations of one element, of which one commit is under way at most.
class ConfigurationHistory {
 public:
  // Of the versions: from the one that is certainly committed to the one that
  // may be.
  struct Span {
    std::size_t first = 0;
    std::size_t last = 0;
  };

  explicit ConfigurationHistory(const Configuration& first) { Submit(first); }

  // A commit was sent; its reply came.
  void Submit(const Configuration& configuration);
  void Acknowledge() { acknowledged_ = versions_.size() - 1; }
  // At rest: no record tells of what was before any more.
  void Forget() { oldest_ = acknowledged_; }

  std::size_t Acknowledged() const { return acknowledged_; }
  Span SinceAcknowledged(std::size_t first) const { return {first, versions_.size() - 1}; }
  Span All() const { return {oldest_, versions_.size() - 1}; }
  const ExpectedStatus& At(std::size_t version) const { return *versions_[version]; }
  const ExpectedStatus& Latest() const { return *versions_.back(); }
  bool WasConfigured(const RecordIdentity& identity, const Span& span) const;

 private:
  std::vector<std::unique_ptr<const ExpectedStatus>> versions_;
  std::size_t acknowledged_ = 0;
  std::size_t oldest_ = 0;
};

}  // namespace test

#endif
