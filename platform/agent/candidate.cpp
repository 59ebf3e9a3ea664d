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
  Draft copy = IsOpen() ? draft_->Copy() : datastore_.NewDraft();
  if (Problems problems = ApplyEdits(model_, copy, edit); !problems.empty()) {
    return problems;
  }
  AddImplicitNodes(model_, copy.Data());
  draft_ = std::move(copy);
  return {};
}

Problems Candidate::Discard() {
  if (committing_) {
    return {BeingCommitted()};
  }
  draft_.reset();
  return {};
}

Problems Candidate::Validate() const {
  if (!IsOpen()) {
    return {NotOpen()};
  }
  if (auto stale = Staleness()) {
    return {*stale};
  }
  const auto prepared = datastore_.Prepare(OnItsBase());
  return prepared ? Problems{} : prepared.Why();
}

Result<Draft> Candidate::BeginCommit() {
  if (!IsOpen()) {
    return NotOpen();
  }
  if (committing_) {
    return BeingCommitted();
  }
  if (auto stale = Staleness()) {
    return *stale;
  }
  Draft copy = draft_->Copy();
  draft_->Detach();
  committing_ = true;
  return copy;
}

Draft Candidate::OnItsBase() const {
  Draft draft = draft_->Copy();
  if (committing_) {
    draft.Attach(datastore_.Running());
  }
  return draft;
}

Tree Candidate::Complete() const {
  return OnItsBase().Complete();
}

// What a commit of it would undo without anybody having asked for that.
std::optional<Problem> Candidate::Staleness() const {
  if (committing_ || draft_->Base() == datastore_.Running()) {
    return std::nullopt;
  }
  return Problem{.message =
                     "commit the candidate: since it was opened, at commit " +
                     std::to_string(draft_->Base()->Txid()) +
                     ", the running configuration was changed (now commit " +
                     std::to_string(datastore_.Running()->Txid()) +
                     "); look at the difference of the candidate, then discard it and make its "
                     "edits anew"};
}

void Candidate::EndCommit(bool committed) {
  committing_ = false;
  if (committed) {
    static_cast<void>(Discard());
  } else {
    draft_->Attach(datastore_.Running());
  }
}

std::vector<cfm::agent::DiffLine> Candidate::Lines() const {
  if (!IsOpen()) {
    return {};
  }
  // To what it was opened from: its own edits, and not those of others since.
  const Draft draft = OnItsBase();
  return Difference(model_, draft.Before().get(), draft.Data().get()).Lines();
}

}  // namespace agentd
