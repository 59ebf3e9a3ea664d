// What the CFM manager client tells its user.
#ifndef CFM_RECEIVED_INFORMATION_HANDLER_H
#define CFM_RECEIVED_INFORMATION_HANDLER_H

#include <string>

#include "cfm/records.h"

namespace cfm {

// Notifications of the CFM manager, delivered on the main thread: from inside
// the middleware loop, but for the HandleStatusInvalidated that the client's
// constructor reports. Names are those of the MD and the MA. The order of the
// operations is the client library's.
class ReceivedInformationHandler {
 public:
  virtual void HandleStatusLocalMep(std::string md, std::string ma, unsigned short mep,
                                    const st_lmep_status& status) = 0;
  virtual void HandleStatusRemoteMep(std::string md, std::string ma, unsigned short mep,
                                     unsigned short rmep, const st_rmep_status& status) = 0;
  virtual void HandleStatisticsLocalMep(std::string md, std::string ma, unsigned short mep,
                                        const st_lmep_stats& stats) = 0;
  virtual void HandleStatisticsRemoteMep(std::string md, std::string ma, unsigned short mep,
                                         unsigned short rmep, const st_rmep_stats& stats) = 0;
  // The end of one statistics answer.
  virtual void HandleStatisticsFinished() = 0;
  virtual void HandleRemovedLocalMep(std::string md, std::string ma, unsigned short mep) = 0;
  virtual void HandleRemovedRemoteMep(std::string md, std::string ma, unsigned short mep,
                                      unsigned short rmep) = 0;
  // Every status record delivered so far is void.
  virtual void HandleStatusInvalidated() = 0;
  virtual ~ReceivedInformationHandler() = default;
};

}  // namespace cfm

#endif
