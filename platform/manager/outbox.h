// What waits for a client that does not read as fast as things happen.
#ifndef CFM_MANAGER_OUTBOX_H
#define CFM_MANAGER_OUTBOX_H

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>

#include "manager.pb.h"
#include "status_codec.h"

namespace cfm {

// Messages leave in the order in which they were put, but for status: of one
// record only the latest waits, so what waits is bounded by what there is to
// know. A status is never moved to before a removal that was put earlier,
// because records share identities at the client: what is shown after the
// removal of another record has to come after it. A record that the client was
// never shown is not removed there either.
class Outbox {
 public:
  struct Line {
    // Never blocks, never calls back.
    std::function<void(const manager::FromManager&)> send;
    // Whether what is sent now only piles up.
    std::function<bool()> is_full;
  };

  explicit Outbox(Line line) : line_(std::move(line)) {}

  // LocalStatus or RemoteStatus of that record.
  void PutStatus(const RecordName& record, manager::FromManager message);
  void PutRemoval(const RecordName& record);
  void Put(manager::FromManager message);
  // The client has no record any more: nothing was ever shown to it. Only
  // when nothing waits.
  void ForgetShown() { shown_.clear(); }

  // Sends what waits for as long as the line takes it.
  void Flush();
  bool IsEmpty() const { return waiting_.empty(); }

 private:
  struct Entry {
    manager::FromManager message;
    std::optional<RecordName> status_of;
    std::uint64_t removals_before = 0;
  };
  using Waiting = std::list<Entry>;

  void Enqueue(Entry entry);
  void SendNow(const Entry& entry);

  Line line_;
  Waiting waiting_;
  std::map<RecordName, Waiting::iterator> waiting_status_;
  std::set<RecordName> shown_;
  std::uint64_t removals_ = 0;
};

}  // namespace cfm

#endif
