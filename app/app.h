// The application object: creates the handlers, connects them to the ConfD
// agent, and takes them down in order.
#ifndef CFM_APP_APP_H
#define CFM_APP_APP_H

#include <velmidware.h>

#include <memory>

#include "cfm/client.h"
#include "config/config.h"
#include "status/actions.h"
#include "status/status.h"
#include "status/status_receiver.h"
#include "velconfd/app_interface.h"

struct zlog_category_s;

namespace cfm {

// The name of the process for the middleware, its log and the agent.
inline constexpr const char* kApplicationName = "cfm-app";

class App {
 public:
  // The client and the receiver are borrowed and outlive the object. The
  // handlers are called from inside the middleware loop, but for an
  // invalidation that the receiver remembers: it is replayed at construction.
  // What the framework throws at construction passes through.
  App(velmw_t* middleware, const char* name, Client* client, StatusReceiver* receiver);
  ~App();

  App(const App&) = delete;
  App& operator=(const App&) = delete;

 private:
  // Runs the destructor and leaves the storage alone.
  struct DestroyInPlace {
    void operator()(Config* config) const;
  };

  velmw_t* middleware_;
  zlog_category_s* log_;  // lives until the process ends
  std::unique_ptr<Config, DestroyInPlace> config_;
  std::unique_ptr<velconfd::AppInterface> agent_interface_;
  std::unique_ptr<Status> status_;
  std::unique_ptr<Actions> actions_;
};

}  // namespace cfm

#endif
