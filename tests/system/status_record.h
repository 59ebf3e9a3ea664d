// Status records as front ends get them, and what each of their leaves may say.
#ifndef TESTS_SYSTEM_STATUS_RECORD_H
#define TESTS_SYSTEM_STATUS_RECORD_H

#include <agent.pb.h>

#include <compare>
#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace test {

// Whose record it is. For a remote MEP `mep` is its own id.
struct RecordIdentity {
  std::string list;  // "local" or "remote"
  std::string md;
  std::string ma;
  int mep = 0;

  auto operator<=>(const RecordIdentity&) const = default;
};
std::string ToText(const RecordIdentity& identity);

// Values by name: one for a leaf, any number for a leaf-list, then ascending
// as texts.
using Leaves = std::map<std::string, std::vector<std::string>>;

struct StatusRecord {
  std::string list;
  std::string id;
  Leaves leaves;  // without the id

  // Nothing as long as the daemon is still writing a new record.
  std::optional<RecordIdentity> Identity() const;
};

// A leaf of the status model.
struct StatusLeaf {
  const char* name;
  // Whether the daemon computes it when it is read.
  bool is_computed;
  // Full match, ECMAScript.
  const char* pattern;
};

// In the order of the model, without the id.
std::span<const StatusLeaf> LeavesOf(const std::string& list);
const StatusLeaf& LeafNamed(const std::string& list, const std::string& name);
// Throws std::runtime_error for a leaf that the list does not have, a value
// that is none of its type, and a leaf or element that comes twice.
void CheckValues(const StatusRecord& record);

// Any node of an operational tree: all records at or below it.
std::vector<StatusRecord> RecordsIn(const cfm::agent::Node& node);
StatusRecord RecordOf(const cfm::agent::Node& entry);

}  // namespace test

#endif
