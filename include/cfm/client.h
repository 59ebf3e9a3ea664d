// The CFM manager client (library libcfm_mgr_client): requests to the process
// that runs CFM on the ports.
#ifndef CFM_CLIENT_H
#define CFM_CLIENT_H

#include <map>
#include <memory>
#include <string>

#include "cfm/hierarchy.h"
#include "cfm/received_information_handler.h"

struct velmw_handle;
typedef struct velmw_handle velmw_t;

namespace cfm {

// One per process. Requests never block and never throw: while the manager is
// away the last configuration is kept, and sent when it is back. Every
// notification reaches the receiver from inside the middleware loop, but for
// the HandleStatusInvalidated that the constructor reports. The order of the
// operations is the client library's.
class Client {
 public:
  // Both are borrowed and outlive the client. Throws std::exception when the
  // middleware has no loop to work in.
  Client(velmw_t* middleware, ReceivedInformationHandler* receiver);
  virtual ~Client();

  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // Hands over the whole configuration, which replaces all that was handed
  // over before. Returns 0 when the client took it.
  virtual int ApplyConfiguration(const std::map<std::string, hierarchy_md>& domains);
  // Asks for the statistics of every MEP: statistics notifications, then one
  // HandleStatisticsFinished. The result tells nothing.
  virtual int RequestStatistics();
  // Clears counters. Null names and MEP 0 stand for all. What is cleared while
  // requests are open is told again before the next of them is finished: as
  // zeros where the manager told nothing since. The result tells nothing.
  virtual int ClearStatistics(const char* md, const char* ma, unsigned short mep);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace cfm

#endif
