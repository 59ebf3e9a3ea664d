#include "record_watch.h"

#include <stdexcept>

#include "await.h"
#include "requests.h"

namespace bench {
namespace {

constexpr const char* kRecords = "/status/oam/cfm";

}  // namespace

RecordWatch::RecordWatch(Loop& loop, const std::filesystem::path& runtime_directory)
    : loop_(loop), line_(loop, runtime_directory) {
  line_.OnReply([this](const cfm::agent::Reply& reply) { Take(reply); });
  line_.Send(WatchStatus(kRecords));
}

void RecordWatch::Take(const cfm::agent::Reply& reply) {
  for (const cfm::agent::OperationalChange& change : reply.operational()) {
    if (change.has_entry()) {
      paths_.insert(change.path());
    } else {
      paths_.erase(change.path());
    }
    on_change_(change);
  }
}

void RecordWatch::AwaitCount(int records) {
  Await(
      loop_, [this, records] { return Count() == records; },
      std::to_string(records) + " status records");
}

std::string RecordWatch::AnyPath(const std::string& list) const {
  const std::string prefix = std::string(kRecords) + '/' + list + '[';
  const auto path = paths_.lower_bound(prefix);
  if (path == paths_.end() || path->compare(0, prefix.size(), prefix) != 0) {
    throw std::runtime_error("there is no " + list + " status record");
  }
  return *path;
}

std::string LeafText(const cfm::agent::Node& record, const std::string& leaf) {
  for (const cfm::agent::Node& child : record.children()) {
    if (child.name() == leaf) {
      return child.value();
    }
  }
  return {};
}

}  // namespace bench
