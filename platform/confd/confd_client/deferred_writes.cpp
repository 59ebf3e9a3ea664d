#include "confd_client/deferred_writes.h"

#include <confd_lib.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "confd_client/daemon.h"
#include "fail_point.h"

namespace confd {
namespace {

using cfm::agent::OperationalWrite;
using cfm::agent::WritableLeaf;

// A few dozen entries' worth; far below what a frame holds.
constexpr int kMostWaiting = 256;

std::string ListName(const Path& entry) {
  std::string name;
  for (const Step& step : entry) {
    name += "/" + step.name;
  }
  return name;
}

bool IsPrintableAscii(const std::string& text) {
  return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

bool Takes(const WritableLeaf& leaf, const cfm::agent::Value& value) {
  if (value.type() != leaf.type()) {
    return false;
  }
  if (!leaf.takes_all()) {
    return std::ranges::find(leaf.numbers(), value.number()) != leaf.numbers().end();
  }
  return value.type() != C_BUF || IsPrintableAscii(value.text());
}

}  // namespace

const WritableLists::Leaves* WritableLists::Find(const Path& entry) const {
  const auto found = lists_.find(ListName(entry));
  return found != lists_.end() ? &found->second : nullptr;
}

void WritableLists::Learn(const Path& entry,
                          const google::protobuf::RepeatedPtrField<WritableLeaf>& leaves) {
  Leaves& list = lists_[ListName(entry)];
  for (const WritableLeaf& leaf : leaves) {
    list.insert_or_assign(leaf.name(), leaf);
  }
}

Path EntryOf(OperationalWrite::Operation operation, const Path& path) {
  Path entry = path;
  if (operation == OperationalWrite::SET) {
    entry.pop_back();
  }
  const bool has_position =
      std::ranges::any_of(entry, [](const Step& step) { return step.position.has_value(); });
  const bool is_entry = operation != OperationalWrite::DELETE && !entry.empty() &&
                        !entry.back().keys.empty() && !has_position;
  return is_entry ? entry : Path();
}

void DeferredWrites::Know(Path entry, const WritableLists::Leaves* leaves) {
  entry_ = std::move(entry);
  leaves_ = leaves;
}

void DeferredWrites::KnowEntriesLeft(const Path& path, std::uint32_t entries) {
  list_ = path;
  list_.back().position.reset();
  entries_left_ = entries;
}

void DeferredWrites::Forget() {
  entry_.clear();
  leaves_ = nullptr;
  list_.clear();
  entries_left_ = 0;
}

bool DeferredWrites::CanTake(const OperationalWrite& write, const Path& path) const {
  switch (write.operation()) {
    case OperationalWrite::SET:
      return CanSet(write, path);
    case OperationalWrite::DELETE:
      return CanDelete(path);
    default:
      return false;
  }
}

bool DeferredWrites::CanSet(const OperationalWrite& write, const Path& path) const {
  if (leaves_ == nullptr || path.size() != entry_.size() + 1 || path.back().PicksEntry() ||
      !std::equal(entry_.begin(), entry_.end(), path.begin())) {
    return false;
  }
  const auto leaf = leaves_->find(path.back().name);
  return leaf != leaves_->end() && Takes(leaf->second, write.value());
}

// The last of its list.
bool DeferredWrites::CanDelete(const Path& path) const {
  if (entries_left_ == 0 || path.back().position != entries_left_ - 1 ||
      path.size() != list_.size() || path.back().name != list_.back().name) {
    return false;
  }
  return std::equal(list_.begin(), std::prev(list_.end()), path.begin());
}

void DeferredWrites::Take(OperationalWrite write, Link& link) {
  cfm::agent::DeferredWrites& deferred = *request_.mutable_deferred_writes();
  if (write.operation() == OperationalWrite::DELETE) {
    --entries_left_;
    entry_.clear();
    leaves_ = nullptr;
    deferred.set_wants_reply(true);
  }
  *deferred.add_writes() = std::move(write);
  CFM_FAIL_POINT(confd_write_deferred);
  if (deferred.writes_size() == kMostWaiting) {
    Send(link);
  }
}

void DeferredWrites::Send(Link& link) {
  if (!request_.has_deferred_writes()) {
    return;
  }
  const cfm::agent::Request request = std::exchange(request_, {});
  CFM_FAIL_POINT(confd_deferred_sending);
  if (!request.deferred_writes().wants_reply()) {
    link.Send(request);
    CFM_FAIL_POINT(confd_deferred_sent);
    return;
  }
  const cfm::agent::Reply reply = link.Transact(request);
  CFM_FAIL_POINT(confd_deferred_answered);
  for (const std::uint64_t id : reply.withdrawn()) {
    WithdrawRequest(id);
  }
}

}  // namespace confd
