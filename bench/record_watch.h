// The status records in the agent's operational datastore, as it tells of
// them.
#ifndef BENCH_RECORD_WATCH_H
#define BENCH_RECORD_WATCH_H

#include <agent.pb.h>

#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "agent_line.h"

namespace bench {

class RecordWatch {
 public:
  using OnChange = std::function<void(const cfm::agent::OperationalChange&)>;

  // Connects. Throws what AgentLine throws.
  RecordWatch(Loop& loop, const std::filesystem::path& runtime_directory);

  // Waits until there are that many records. Throws std::runtime_error when
  // nothing more happens before.
  void AwaitCount(int records);
  int Count() const { return static_cast<int>(paths_.size()); }
  // Path of some record of `list`, local or remote, that is there.
  std::string AnyPath(const std::string& list) const;
  // Told of each record that appears, changes or goes away.
  void SetOnChange(OnChange on_change) { on_change_ = std::move(on_change); }

 private:
  void Take(const cfm::agent::Reply& reply);

  Loop& loop_;
  std::set<std::string> paths_;
  OnChange on_change_ = [](const auto&) {};
  AgentLine line_;
};

// The text of a leaf of a record; empty when it is not there.
std::string LeafText(const cfm::agent::Node& record, const std::string& leaf);

}  // namespace bench

#endif
