// The status records of an element as a watcher of its agent knows them.
#ifndef TESTS_SYSTEM_RECORD_VIEW_H
#define TESTS_SYSTEM_RECORD_VIEW_H

#include <agent.pb.h>

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "status_record.h"

namespace test {

class RecordView {
 public:
  struct Key {
    std::string list;
    std::string id;

    auto operator<=>(const Key&) const = default;
  };
  struct Known {
    std::optional<RecordIdentity> identity;  // nothing: the daemon still writes it
    // Ids come back for other records: this one is the n-th that there was.
    std::uint64_t incarnation = 0;
  };
  using Records = std::map<Key, Known>;

  // What a watcher was told. Throws std::runtime_error for what contradicts
  // what it was told before.
  void Take(const cfm::agent::Reply& reply);
  const Records& All() const { return records_; }
  // Whose the records are.
  std::multiset<RecordIdentity> Identities() const;

  // A reply did not have a record that was known when it was asked for.
  void NoteMissing(const Key& key, const Known& known) { missing_.emplace_back(key, known); }
  // At rest: throws std::runtime_error for one that is still there.
  void CheckMissing();

 private:
  void Apply(const cfm::agent::OperationalChange& change);

  Records records_;
  std::uint64_t incarnations_ = 0;
  std::vector<std::pair<Key, Known>> missing_;
};

}  // namespace test

#endif
