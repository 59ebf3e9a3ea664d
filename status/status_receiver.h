// The daemon's end of the CFM manager client: forwards each notification to
// whoever registered for it.
//
// It exists before the client does, which may notify at once, and so before the
// status handler that wants the notifications.
#ifndef CFM_STATUS_STATUS_RECEIVER_H
#define CFM_STATUS_STATUS_RECEIVER_H

#include <functional>
#include <string>

#include "cfm/received_information_handler.h"

namespace cfm {

// Callbacks run inside the notification; what they throw reaches the client.
// While a callback is empty its notifications are dropped, but for an
// invalidation: that one is remembered, once, and replayed by Register.
class StatusReceiver : public ReceivedInformationHandler {
 public:
  using LocalStatus =
      std::function<void(std::string md, std::string ma, int mep, const st_lmep_status& status)>;
  using RemoteStatus = std::function<void(std::string md, std::string ma, int local_mep,
                                          int remote_mep, const st_rmep_status& status)>;
  using LocalRemoved = std::function<void(std::string md, std::string ma, int mep)>;
  using RemoteRemoved =
      std::function<void(std::string md, std::string ma, int local_mep, int remote_mep)>;
  using LocalStatistics =
      std::function<void(std::string md, std::string ma, int mep, const st_lmep_stats& stats)>;
  using RemoteStatistics = std::function<void(std::string md, std::string ma, int local_mep,
                                              int remote_mep, const st_rmep_stats& stats)>;
  using StatisticsFinished = std::function<void()>;
  using StatusInvalidated = std::function<void()>;

  StatusReceiver() = default;
  ~StatusReceiver() override = default;

  StatusReceiver(const StatusReceiver&) = delete;
  StatusReceiver& operator=(const StatusReceiver&) = delete;

  // Replaces all callbacks.
  void Register(LocalStatus local_status, RemoteStatus remote_status, LocalRemoved local_removed,
                RemoteRemoved remote_removed, LocalStatistics local_statistics,
                RemoteStatistics remote_statistics, StatisticsFinished statistics_finished,
                StatusInvalidated status_invalidated);
  // Empties all callbacks; a remembered invalidation stays remembered.
  void Unregister() noexcept;

  void HandleStatusLocalMep(std::string md, std::string ma, unsigned short mep,
                            const st_lmep_status& status) override;
  void HandleStatusRemoteMep(std::string md, std::string ma, unsigned short local_mep,
                             unsigned short remote_mep, const st_rmep_status& status) override;
  void HandleStatisticsLocalMep(std::string md, std::string ma, unsigned short mep,
                                const st_lmep_stats& stats) override;
  void HandleStatisticsRemoteMep(std::string md, std::string ma, unsigned short local_mep,
                                 unsigned short remote_mep, const st_rmep_stats& stats) override;
  void HandleStatisticsFinished() override;
  void HandleRemovedLocalMep(std::string md, std::string ma, unsigned short mep) override;
  void HandleRemovedRemoteMep(std::string md, std::string ma, unsigned short local_mep,
                              unsigned short remote_mep) override;
  void HandleStatusInvalidated() override;

 private:
  LocalStatus local_status_;
  RemoteStatus remote_status_;
  LocalRemoved local_removed_;
  RemoteRemoved remote_removed_;
  LocalStatistics local_statistics_;
  RemoteStatistics remote_statistics_;
  StatisticsFinished statistics_finished_;
  StatusInvalidated status_invalidated_;
  bool invalidation_pending_ = false;
};

}  // namespace cfm

#endif
