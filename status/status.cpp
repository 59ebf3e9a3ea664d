#include "status/status.h"

#include <cassert>
#include <cstdint>
#include <string>
#include <utility>

#include "app/fault.h"
#include "app/log.h"
#include "cfm/client.h"
#include "cfm/model_tags.h"
#include "status/actions.h"
#include "status/status_receiver.h"

#ifdef NDEBUG
#error "The assertions of the status and action handlers are part of what they do"
#endif

namespace cfm {

// StatusReceiver

// The invalidation callback comes before those of the statistics, and is
// called at once for an invalidation that came early: stale status goes before
// anything else is delivered.
void StatusReceiver::Register(LocalStatus local_status, RemoteStatus remote_status,
                              LocalRemoved local_removed, RemoteRemoved remote_removed,
                              LocalStatistics local_statistics, RemoteStatistics remote_statistics,
                              StatisticsFinished statistics_finished,
                              StatusInvalidated status_invalidated) {
  local_status_ = std::move(local_status);
  remote_status_ = std::move(remote_status);
  local_removed_ = std::move(local_removed);
  remote_removed_ = std::move(remote_removed);
  status_invalidated_ = std::move(status_invalidated);
  if (invalidation_pending_ && status_invalidated_) {
    status_invalidated_();
    invalidation_pending_ = false;
  }
  local_statistics_ = std::move(local_statistics);
  remote_statistics_ = std::move(remote_statistics);
  statistics_finished_ = std::move(statistics_finished);
}

void StatusReceiver::Unregister() noexcept {
  local_status_ = nullptr;
  remote_status_ = nullptr;
  local_removed_ = nullptr;
  remote_removed_ = nullptr;
  status_invalidated_ = nullptr;
  local_statistics_ = nullptr;
  remote_statistics_ = nullptr;
  statistics_finished_ = nullptr;
}

void StatusReceiver::HandleStatusLocalMep(std::string md, std::string ma, unsigned short mep,
                                          const st_lmep_status& status) {
  if (local_status_) {
    local_status_(std::move(md), std::move(ma), mep, status);
  }
}

void StatusReceiver::HandleStatusRemoteMep(std::string md, std::string ma, unsigned short local_mep,
                                           unsigned short remote_mep,
                                           const st_rmep_status& status) {
  if (remote_status_) {
    remote_status_(std::move(md), std::move(ma), local_mep, remote_mep, status);
  }
}

void StatusReceiver::HandleStatisticsLocalMep(std::string md, std::string ma, unsigned short mep,
                                              const st_lmep_stats& stats) {
  if (local_statistics_) {
    local_statistics_(std::move(md), std::move(ma), mep, stats);
  }
}

void StatusReceiver::HandleStatisticsRemoteMep(std::string md, std::string ma,
                                               unsigned short local_mep, unsigned short remote_mep,
                                               const st_rmep_stats& stats) {
  if (remote_statistics_) {
    remote_statistics_(std::move(md), std::move(ma), local_mep, remote_mep, stats);
  }
}

void StatusReceiver::HandleStatisticsFinished() {
  if (statistics_finished_) {
    statistics_finished_();
  }
}

void StatusReceiver::HandleRemovedLocalMep(std::string md, std::string ma, unsigned short mep) {
  if (local_removed_) {
    local_removed_(std::move(md), std::move(ma), mep);
  }
}

void StatusReceiver::HandleRemovedRemoteMep(std::string md, std::string ma,
                                            unsigned short local_mep, unsigned short remote_mep) {
  if (remote_removed_) {
    remote_removed_(std::move(md), std::move(ma), local_mep, remote_mep);
  }
}

void StatusReceiver::HandleStatusInvalidated() {
  if (status_invalidated_) {
    status_invalidated_();
  } else {
    invalidation_pending_ = true;
  }
}

// StatisticsCallpoint

const char* StatisticsCallpoint::GetCallpoint() {
  return "statistics";
}

// Status

Status::Status(zlog_category_s* log, StatusReceiver* receiver, Client* /*client*/)
    : StatusHandler(false, false, false), log_(log), receiver_(receiver) {
  CFM_LOG(log_, kInformational, "Status handling initialized");
}

Status::~Status() {
  receiver_->Unregister();
}

const std::vector<velconfd::DataHandler::Callpoint*>& Status::GetCallpoints() const {
  return callpoints_;
}

StatisticsCallpoint* Status::GetStatisticsCallpoint() {
  return &statistics_callpoint_;
}

// Actions

Actions::Actions(zlog_category_s* log, Client* client, StatisticsCallpoint* statistics_callpoint)
    : ActionHandler(log), log_(log), client_(client), statistics_callpoint_(statistics_callpoint) {
  if (client_ == nullptr) {
    CFM_FATAL_FAULT();
  }
  if (statistics_callpoint_ == nullptr) {
    CFM_FATAL_FAULT();
  }
  CFM_LOG(log_, kInformational, "Actions handler initialized");
}

const char* Actions::GetActionPoint() const {
  return "clear_cfm_statistics";
}

int Actions::ActionCb(confd_user_info* /*user*/, xml_tag* /*name*/, confd_hkeypath_t* /*kp*/,
                      confd_tag_value_t* params, int nparams) {
  CFM_LOG(log_, kInformational, "Action clear statistics request received");
  const char* md = nullptr;
  const char* ma = nullptr;
  std::uint16_t mep = 0;
  for (int i = 0; i < nparams; ++i) {
    switch (params[i].tag.tag) {
      case tag::kMep:
        assert((&params[i].v)->type == C_INT32);
        mep = static_cast<std::uint16_t>(CONFD_GET_INT32(&params[i].v));
        CFM_LOG(log_, kInformational, "Parameter MEP=%d received", int{mep});
        break;
      case tag::kMd:
        assert((&params[i].v)->type == C_BUF);
        md = CONFD_GET_CBUFPTR(&params[i].v);
        CFM_LOG(log_, kInformational, "Parameter MD=%s received", md);
        break;
      case tag::kMa:
        assert((&params[i].v)->type == C_BUF);
        ma = CONFD_GET_CBUFPTR(&params[i].v);
        // Shows the MD: log tools know the record like that.
        CFM_LOG(log_, kInformational, "Parameter MA=%s received", md);
        break;
      default: {
        char text[128] = {};
        confd_pp_value(text, sizeof(text), &params[i].v);
        CFM_LOG(log_, kWarning, "Invalid XML Tag %s while handling action clear statistics.", text);
        return CONFD_ERR;
      }
    }
  }
  const auto shown = [](const char* name) { return name != nullptr ? name : "<any>"; };
  const std::string shown_mep = mep != 0 ? std::to_string(static_cast<std::int16_t>(mep)) : "<any>";
  CFM_LOG(log_, kInformational, "MEP to have the statistics cleared: MD: %s, MA: %s, MEP: %s",
          shown(md), shown(ma), shown_mep.c_str());
  client_->ClearStatistics(md, ma, mep);
  CFM_LOG(log_, kInformational, "Statistics successfully cleared!");
  return CONFD_OK;
}

}  // namespace cfm
