// What a clearing of statistics takes away from under the reads that wait.
#ifndef CFM_CLEARED_STATISTICS_H
#define CFM_CLEARED_STATISTICS_H

#include <set>
#include <string_view>
#include <utility>

#include "status_codec.h"

namespace cfm {

// The user forgets what is cleared. When a request of its own from before is
// completed after that, it must find counters again of every MEP whose status
// it shows: those that the manager told since, or else zeros, for they were
// cleared. It answers its reads in their order, so that one without counters
// would hold back all behind it.
class ClearedStatistics {
 public:
  // The user was told of the record's status, or of its end.
  void Published(const RecordName& name) { published_.insert(name); }
  void Removed(const RecordName& name) { published_.erase(name); }
  void NothingIsPublished() { published_.clear(); }

  // While requests are open. Empty names and MEP 0 stand for all; a MEP is
  // local or remote.
  void Clear(std::string_view md, std::string_view ma, std::uint16_t mep);
  // The manager told counters of the record.
  void Told(const RecordName& name) { cleared_.erase(name); }
  // The records that were cleared and not told since; forgets them.
  std::set<RecordName> Take() { return std::exchange(cleared_, {}); }

 private:
  std::set<RecordName> published_;
  std::set<RecordName> cleared_;
};

}  // namespace cfm

#endif
