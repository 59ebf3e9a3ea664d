#include "status_feed.h"

#include <utility>
#include <variant>

#include "fail_point.h"
#include "status_codec.h"

namespace cfm {
namespace {

RecordName NameOf(const engine::MepName& mep, std::uint16_t remote = 0) {
  return {.md = mep.md, .ma = mep.ma, .mep = mep.id, .remote = remote};
}

struct Teller {
  Outbox& outbox;

  void operator()(const engine::LocalStatus& report) const {
    const RecordName name = NameOf(report.mep);
    manager::FromManager message;
    Encode(Named<st_lmep_status>{name, report.status}, *message.mutable_local_status());
    outbox.PutStatus(name, std::move(message));
  }
  void operator()(const engine::RemoteStatus& report) const {
    const RecordName name = NameOf(report.mep, report.remote);
    manager::FromManager message;
    Encode(Named<st_rmep_status>{name, report.status}, *message.mutable_remote_status());
    outbox.PutStatus(name, std::move(message));
  }
  void operator()(const engine::LocalRemoved& report) const {
    outbox.PutRemoval(NameOf(report.mep));
  }
  void operator()(const engine::RemoteRemoved& report) const {
    outbox.PutRemoval(NameOf(report.mep, report.remote));
  }
  template <typename Other>
  void operator()(const Other&) const {}
};

}  // namespace

void StatusFeed::Take(const engine::Effect& effect) {
  if (has_begun_) {
    CFM_FAIL_POINT(manager_status_sending);
    std::visit(Teller{outbox_}, effect);
    CFM_FAIL_POINT(manager_status_sent);
  }
}

void StatusFeed::SendApplied(std::uint64_t number, const std::vector<std::string>& warnings) {
  manager::FromManager message;
  manager::Applied& applied = *message.mutable_applied();
  applied.set_number(number);
  applied.mutable_warnings()->Add(warnings.begin(), warnings.end());
  outbox_.Put(std::move(message));
}

void StatusFeed::SendResendStarts(std::uint64_t number) {
  manager::FromManager message;
  message.mutable_resend_starts()->set_number(number);
  outbox_.Put(std::move(message));
  outbox_.ForgetShown();
}

void StatusFeed::SendStatistics(std::uint64_t number,
                                const std::vector<engine::MepStatistics>& statistics) {
  for (const engine::MepStatistics& mep : statistics) {
    manager::FromManager local;
    Encode(Named<st_lmep_stats>{NameOf(mep.mep), mep.statistics},
           *local.mutable_local_statistics());
    outbox_.Put(std::move(local));
    for (const engine::RemoteStatistics& remote : mep.remotes) {
      manager::FromManager message;
      Encode(Named<st_rmep_stats>{NameOf(mep.mep, remote.remote), remote.statistics},
             *message.mutable_remote_statistics());
      outbox_.Put(std::move(message));
    }
  }
  CFM_FAIL_POINT(manager_statistics_counted);
  manager::FromManager finished;
  finished.mutable_statistics_finished()->set_number(number);
  outbox_.Put(std::move(finished));
  CFM_FAIL_POINT(manager_statistics_sent);
}

}  // namespace cfm
