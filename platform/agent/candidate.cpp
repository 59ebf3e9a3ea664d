#include "candidate.h"

#include "edit.h"
#include "validation.h"

namespace agentd {
namespace {

Problem NotOpen() {
  return {.message = "there is no candidate configuration: edit it first"};
}

Problem BeingCommitted() {
  return {.message = "the candidate configuration is being committed: try again afterwards"};
}

}  // namespace

Problems Candidate::Apply(const cfm::agent::Edit& edit) {
  if (committing_) {
    return {BeingCommitted()};
  }
  Tree copy = IsOpen() ? CopyTree(tree_.get()) : datastore_.WorkingCopy();
  if (Problems problems = ApplyEdits(model_, copy, edit); !problems.empty()) {
    return problems;
  }
  AddImplicitNodes(model_, copy);
  tree_ = std::move(copy);
  if (!IsOpen()) {
    base_ = datastore_.Running();
  }
  return {};
}

Problems Candidate::Discard() {
  if (committing_) {
    return {BeingCommitted()};
  }
  base_.reset();
  tree_.reset();
  return {};
}

Problems Candidate::Validate() const {
  if (!IsOpen()) {
    return {NotOpen()};
  }
  if (auto stale = Staleness()) {
    return {*stale};
  }
  const auto prepared = datastore_.Prepare(CopyTree(tree_.get()));
  return prepared ? Problems{} : prepared.Why();
}

Result<Tree> Candidate::BeginCommit() {
  if (!IsOpen()) {
    return NotOpen();
  }
  if (committing_) {
    return BeingCommitted();
  }
  if (auto stale = Staleness()) {
    return *stale;
  }
  Tree copy = CopyTree(tree_.get());
  committing_ = true;
  return copy;
}

// What a commit of it would undo without anybody having asked for that.
std::optional<Problem> Candidate::Staleness() const {
  if (base_ == datastore_.Running()) {
    return std::nullopt;
  }
  return Problem{
      .message = "commit the candidate: it was opened at commit " + std::to_string(base_->Txid()) +
                 " and the running configuration is at commit " +
                 std::to_string(datastore_.Running()->Txid()) +
                 " now; look at the difference of the candidate, then discard it and make its "
                 "edits anew"};
}

void Candidate::EndCommit(bool committed) {
  committing_ = false;
  if (committed) {
    static_cast<void>(Discard());
  }
}

std::vector<cfm::agent::DiffLine> Candidate::Lines() const {
  if (!IsOpen()) {
    return {};
  }
  // To what it was opened from: its own edits, and not those of others since.
  return Difference(model_, base_->Top(), tree_.get()).Lines();
}

}  // namespace agentd
