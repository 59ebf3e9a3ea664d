#include "confd_client/read_cache.h"

#include <utility>

namespace confd {
namespace {

using Verdict = Finding::Verdict;

// What it means that something was not found in a node.
Verdict Missing(bool covered) {
  return covered ? Verdict::kAbsent : Verdict::kUnknown;
}

}  // namespace

void ReadCache::Add(std::shared_ptr<const cfm::agent::DataNode> piece) {
  pieces_.push_back(std::move(piece));
  root_.AddChild(*pieces_.back(), false);
}

void ReadCache::AddAbsence(const std::string& name) {
  absent_.insert(name);
}

Finding ReadCache::Find(const Path& path, Asked asked) {
  Place place = Walk(path, path.size(), asked);
  if (place.node != nullptr) {
    place.finding.data = place.node->Data();
  }
  return place.finding;
}

Finding ReadCache::Count(const Path& path, Asked asked) {
  const Place parent = Walk(path, path.size() - 1, asked);
  if (parent.node == nullptr) {
    return parent.finding;
  }
  const Step& step = path.back();
  Finding finding{.verdict = Verdict::kAbsent, .step = path.size() - 1};
  const CachedList* list = parent.node->FindList(step.name);
  if (list != nullptr && list->size) {
    finding.verdict = Verdict::kFound;
    finding.entries = *list->size;
  } else if (parent.node->FindNode(step.name) != nullptr) {
    finding.verdict = Verdict::kNotAList;
  } else if (!parent.node->KnowsEverything() &&
             !(asked == Asked::kFetched && parent.node->KnowsOwnNodes())) {
    finding.verdict = Verdict::kUnknown;
  }
  return finding;
}

ReadCache::Place ReadCache::Walk(const Path& path, std::size_t steps, Asked asked) {
  if (steps > 0 && absent_.contains(path.front().name)) {
    return {.finding = {.verdict = Verdict::kAbsent}};
  }
  Place place{.finding = {.verdict = Verdict::kFound}, .node = &root_};
  for (std::size_t i = 0; i < steps && place.node != nullptr; ++i) {
    place = Enter(*place.node, path[i], asked);
    place.finding.step = i;
  }
  return place;
}

ReadCache::Place ReadCache::Enter(CachedNode& parent, const Step& step, Asked asked) {
  if (step.PicksEntry()) {
    return EnterEntry(parent, step, asked);
  }
  if (CachedNode* node = parent.FindNode(step.name)) {
    return {.finding = {.verdict = Verdict::kFound}, .node = node};
  }
  if (parent.FindList(step.name) != nullptr) {
    return {.finding = {.verdict = Verdict::kNeedsEntry}};
  }
  return {.finding = {.verdict = Missing(parent.KnowsOwnNodes())}};
}

ReadCache::Place ReadCache::EnterEntry(CachedNode& parent, const Step& step, Asked asked) {
  if (const CachedList* list = parent.FindList(step.name)) {
    if (CachedNode* entry = list->Find(step)) {
      return {.finding = {.verdict = Verdict::kFound}, .node = entry};
    }
    if (list->Excludes(step)) {
      return {.finding = {.verdict = Verdict::kAbsent}};
    }
  } else if (parent.FindNode(step.name) != nullptr) {
    return {.finding = {.verdict = Verdict::kNotAList}};
  }
  return {.finding = {.verdict = Missing(parent.KnowsEverything() ||
                                         (asked == Asked::kFetched && parent.KnowsOwnNodes()))}};
}

}  // namespace confd
