// Walks through leaf-lists, step after step.
#include <confd_dp.h>

#include <algorithm>
#include <utility>

#include "confd_client/provider_answer.h"
#include "confd_client/provider_work.h"
#include "confd_client/read_callback.h"
#include "fail_point.h"

namespace confd {
namespace {

using cfm::agent::ProviderReply;
using cfm::agent::ProviderRequest;
using Outcome = ReadCallback::Outcome;

class Walk {
 public:
  Walk(Daemon& daemon, const ProviderRequest& request, confd_hkeypath_t& keypath)
      : daemon_(daemon),
        id_(request.id()),
        keypath_(keypath),
        callback_(daemon, request.get_next().callpoint(), request.get_next().thandle()),
        so_far_(Answer(id_, ProviderReply::OK)),
        steps_left_(std::max(request.get_next().steps(), 1U)) {
    so_far_.set_next(request.get_next().next());
  }

  Progress Run(const TimeLimit& limit) {
    do {
      if (daemon_.IsWithdrawn(id_)) {
        return Progress::kGoesOn;
      }
      if (const std::string objection = callback_.Objection(); !objection.empty()) {
        Refuse(*daemon_.worker, id_, objection);
        return Progress::kGoesOn;
      }
      if (!Step()) {
        return Progress::kEnds;
      }
    } while (!is_at_end_ && --steps_left_ > 0 && !limit.IsReached());
    Send(*daemon_.worker, std::move(so_far_));
    return is_at_end_ ? Progress::kGoesOn : Progress::kEnds;
  }

 private:
  // Whether another may follow.
  bool Step();
  void Take(const ProviderReply& answer);

  Daemon& daemon_;
  std::uint64_t id_;
  confd_hkeypath_t& keypath_;
  ReadCallback callback_;
  ProviderReply so_far_;
  std::uint32_t steps_left_;
  bool is_at_end_ = false;
};

bool Walk::Step() {
  std::optional<ProviderReply> answer;
  const long next = so_far_.next();
  const auto outcome = callback_.Run(
      {.id = id_, .kind = OpenRead::Kind::kNext, .step = &answer},
      [&](const confd_data_cbs& callbacks, confd_trans_ctx& transaction) {
        return callbacks.get_next == nullptr ? CONFD_ERR
                                             : callbacks.get_next(&transaction, &keypath_, next);
      });
  if (answer) {
    Take(*answer);
    CFM_FAIL_POINT(confd_walk_stepped);
  }
  switch (outcome) {
    case Outcome::kAnswered:
      return answer.has_value();
    case Outcome::kDelayed:
      so_far_.set_result(ProviderReply::DELAYED);
      Send(*daemon_.worker, std::move(so_far_));
      return false;
    case Outcome::kFailed:
      Fail(*daemon_.worker, id_, callback_.Failure());
    case Outcome::kFailedLater:
      if (answer) {
        Send(*daemon_.worker, std::move(so_far_));
      }
      throw ApiError(CONFD_ERR_EXTERNAL, callback_.Failure());
    default:
      return false;
  }
}

// An element of a leaf-list has one key: itself.
void Walk::Take(const ProviderReply& answer) {
  is_at_end_ = answer.keys().empty() || answer.next() == -1;
  if (!answer.keys().empty()) {
    *so_far_.add_keys() = answer.keys(0);
  } else if (so_far_.keys().empty()) {
    so_far_.set_result(ProviderReply::NOT_FOUND);
  }
  so_far_.set_next(is_at_end_ ? -1 : answer.next());
}

}  // namespace

Progress WorkGetNext(Daemon& daemon, const ProviderRequest& request, confd_hkeypath_t& keypath,
                     const TimeLimit& limit) {
  return Walk(daemon, request, keypath).Run(limit);
}

}  // namespace confd
