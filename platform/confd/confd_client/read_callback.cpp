#include "confd_client/read_callback.h"

#include "fail_point.h"

namespace confd {

ReadCallback::ReadCallback(Daemon& daemon, const std::string& callpoint, std::uint32_t transaction)
    : daemon_(daemon), callpoint_(callpoint), number_(transaction) {
  const auto found = daemon.callpoints.find(callpoint);
  callbacks_ = found != daemon.callpoints.end() ? &found->second : nullptr;
}

std::string ReadCallback::Objection() const {
  if (callbacks_ == nullptr) {
    return "the program has no callpoint " + callpoint_;
  }
  return daemon_.open.contains(number_) ? ""
                                        : "no transaction " + std::to_string(number_) + " is open";
}

void ReadCallback::Prepare(const OpenRead& read) {
  transaction_ = daemon_.ForNextRead(number_);
  transaction_->cb_opaque = callbacks_->cb_opaque;
  transaction_->error.clear();
  transaction_->read = read;
  CFM_FAIL_POINT(confd_callback_calling);
}

// The callback may have answered, and the agent may have given the read up
// meanwhile.
ReadCallback::Outcome ReadCallback::Judge(std::uint64_t id, int result) {
  CFM_FAIL_POINT(confd_callback_returned);
  result_ = result;
  const bool is_unanswered = transaction_->read && transaction_->read->id == id;
  const bool is_awaited = is_unanswered && !transaction_->read->given_up;
  if (is_unanswered) {
    transaction_->read->step = nullptr;
  }
  if (result == CONFD_DELAYED_RESPONSE) {
    return is_awaited ? Outcome::kDelayed : is_unanswered ? Outcome::kGivenUp : Outcome::kAnswered;
  }
  if (is_unanswered) {
    daemon_.EndRead(*transaction_);
  }
  if (is_awaited) {
    return Outcome::kFailed;
  }
  if (result != CONFD_OK) {
    return Outcome::kFailedLater;
  }
  return is_unanswered ? Outcome::kGivenUp : Outcome::kAnswered;
}

std::string ReadCallback::Failure() const {
  const std::string what = "callpoint " + callpoint_ + ": ";
  if (result_ == CONFD_OK) {
    return what + "the callback did not answer";
  }
  return what + (transaction_->error.empty() ? "the callback failed" : transaction_->error);
}

}  // namespace confd
