// Connects a program's handlers to the ConfD agent.
#ifndef VELCONFD_APP_INTERFACE_H
#define VELCONFD_APP_INTERFACE_H

#include <memory>
#include <vector>

#include "velconfd/handlers.h"

struct velmw_handle;
typedef struct velmw_handle velmw_t;
struct zlog_category_s;

namespace velconfd {

// Owns the ConfD sockets, subscribes, registers, and calls the handlers back,
// all from inside the middleware loop: nothing is called before the loop runs.
// Keeps the connection up by itself. When the agent comes back with another
// configuration than the handlers last applied, the loop ends with an error,
// because the initial load happens once in a process's life. The same when
// the agent is lost in the middle of that load, and when a handler throws or
// two handlers share the name of a callpoint or action point.
//
// The confd_trans_ctx of a read whose reply a handler has delayed stays
// allocated until the reply or the end of this object, whatever becomes of the
// agent meanwhile. A reply to an agent that is lost returns CONFD_ERR.
class AppInterface {
 public:
  // The handlers are borrowed and outlive the object; the lists are copied.
  // `name` is shown to operators. The handlers are served from the start
  // phase `phase` on; `option` is 0. Throws std::exception when the
  // middleware has no loop to work in or the agent's socket has a path that
  // no socket can have.
  AppInterface(velmw_t* middleware, zlog_category_s* log, const char* name,
               const std::vector<ConfigHandler*>& config_handlers,
               const std::vector<ActionHandler*>& action_handlers,
               const std::vector<DataHandler*>& data_handlers, ELEM_CONFD_PHASE_ET phase,
               int option);
  // Calls no handler.
  virtual ~AppInterface();

  AppInterface(const AppInterface&) = delete;
  AppInterface& operator=(const AppInterface&) = delete;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velconfd

#endif
