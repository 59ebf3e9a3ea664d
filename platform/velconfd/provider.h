// The handlers as a data provider of the agent: the control and the worker
// socket, the registered callpoints and action points, and the way of each
// request to its handler. From the registration to the loss of the agent.
#ifndef VELCONFD_PROVIDER_H
#define VELCONFD_PROVIDER_H

#include <confd_dp.h>
#include <unique_fd.h>

#include <exception>
#include <functional>

#include "agent_address.h"
#include "daemon_context.h"
#include "handler_lists.h"

struct zlog_category_s;

namespace velconfd {

class Provider {
 public:
  // Registers every callpoint and action point; the agent asks from now on,
  // and is heard when Work is called. The handlers are borrowed. Throws
  // AgentError; std::invalid_argument for a name that two handlers share or
  // that is none.
  Provider(const AgentAddress& agent, zlog_category_s* log, const HandlerLists& handlers);

  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;

  int ControlSocket() const { return control_.Get(); }
  int WorkerSocket() const { return worker_.Get(); }

  // Works a request on the socket, which is readable. A handler that fails is
  // logged. Throws AgentError when the agent is gone, and what a handler
  // throws.
  void Work(int socket);

  // The daemon context when a handler may still hold a transaction of it whose
  // reply it has delayed, else null; the provider is of no more use. As long
  // as the context stays, so does the transaction, and a late reply to it is
  // an error and nothing else.
  DaemonContext TakeContextInUse();

 private:
  friend struct ProviderCallbacks;

  ipc::UniqueFd Connected(const AgentAddress& agent, confd_sock_type type);
  void RegisterData();
  void RegisterActions();

  int InitTransaction(confd_trans_ctx* transaction);
  int FinishTransaction(confd_trans_ctx* transaction);
  // Runs a handler; what it throws is kept for Work.
  int Guarded(const std::function<int()>& call) noexcept;

  zlog_category_s* log_;
  std::vector<DataHandler*> data_handlers_;
  std::vector<ActionHandler*> action_handlers_;
  DaemonContext context_;
  ipc::UniqueFd control_;  // the sockets are closed before the context goes
  ipc::UniqueFd worker_;
  std::exception_ptr thrown_;
  bool has_delayed_ = false;
};

}  // namespace velconfd

#endif
