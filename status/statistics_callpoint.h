// The data callpoint of the MEP statistics, and the cache that it answers
// from.
#ifndef CFM_STATUS_STATISTICS_CALLPOINT_H
#define CFM_STATUS_STATISTICS_CALLPOINT_H

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>

#include "cfm/mep_info.h"
#include "cfm/records.h"
#include "velconfd/handlers.h"

struct zlog_category_s;

namespace cfm {

class Client;
class StatusData;

// A read is answered at once while its entry of the cache was stored in this
// or the previous second of system uptime. Otherwise it is parked, and the CFM
// manager is asked for the statistics of all MEPs: this thread never waits for
// the manager. Each end of statistics answers the one read that has waited for
// longest.
class StatisticsCallpoint : public velconfd::DataHandler::Callpoint {
 public:
  // All are borrowed and outlive the object.
  StatisticsCallpoint(zlog_category_s* log, Client* client, StatusData* status_data);
  // Parked reads get no reply.
  ~StatisticsCallpoint() override;

  // Refused: there is no list to walk.
  int GetNextCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath, long next) override;
  int GetElemCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath) override;
  const char* GetCallpoint() override;

  // Notifications of the CFM manager. Statistics of a remote MEP are kept under
  // the remote MEP's id, whichever local MEP they come from.
  void HandleStatisticsLocalMep(std::string md, std::string ma, unsigned short mep,
                                const st_lmep_stats& stats);
  void HandleStatisticsRemoteMep(std::string md, std::string ma, unsigned short local_mep,
                                 unsigned short remote_mep, const st_rmep_stats& stats);
  void HandleStatisticsFinished();

  // Removes every entry that matches, local and remote. Parked reads stay.
  void ClearStatisticsCache(const MepInfo& pattern);

  // Whether the entry that serves a leaf is recent. One that is missing is
  // inserted, with zeros and from uptime 0.
  bool IsRecentStatisticInCache(unsigned int tag, MepInfo info);
  // The value of the leaf that the keypath names, however old; false when
  // there is none.
  bool GetConfdValueFromCache(confd_value_t& value, const confd_hkeypath_t* keypath);
  // An empty name and MEP 0 in the pattern match any.
  static bool MepInfoMatches(const MepInfo& pattern, const MepInfo& candidate);

 private:
  // Record and the uptime at which it was stored.
  template <typename Record>
  using Cache = std::map<MepInfo, std::pair<Record, std::uint64_t>>;
  // The keypath is a copy: ConfD's own lives as long as the callback.
  using PendingRequest = std::pair<confd_trans_ctx*, confd_hkeypath_t>;

  Cache<st_lmep_stats> local_cache_;
  Cache<st_rmep_stats> remote_cache_;
  Client* client_;
  StatusData* status_data_;
  std::deque<PendingRequest> pending_requests_;
  zlog_category_s* log_;
};

}  // namespace cfm

#endif
