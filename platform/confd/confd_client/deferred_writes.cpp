#include "confd_client/deferred_writes.h"

#include <confd_lib.h>

#include <algorithm>
#include <utility>

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

void DeferredWrites::Forget() {
  entry_.clear();
  leaves_ = nullptr;
}

bool DeferredWrites::CanTake(const OperationalWrite& write, const Path& path) const {
  if (leaves_ == nullptr || write.operation() != OperationalWrite::SET ||
      path.size() != entry_.size() + 1 || path.back().PicksEntry() ||
      !std::equal(entry_.begin(), entry_.end(), path.begin())) {
    return false;
  }
  const auto leaf = leaves_->find(path.back().name);
  return leaf != leaves_->end() && Takes(leaf->second, write.value());
}

void DeferredWrites::Take(OperationalWrite write, Link& link) {
  auto& writes = *request_.mutable_deferred_writes()->mutable_writes();
  *writes.Add() = std::move(write);
  if (writes.size() == kMostWaiting) {
    Send(link);
  }
}

void DeferredWrites::Send(Link& link) {
  if (request_.has_deferred_writes()) {
    const cfm::agent::Request request = std::exchange(request_, {});
    link.Send(request);
  }
}

}  // namespace confd
