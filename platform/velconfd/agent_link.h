// Keeps the handlers connected to the agent: from its appearance to its loss
// and back, as one small state machine in the middleware loop.
//
//   waiting ── the agent appears ──▶ connecting ── all steps done ──▶ serving
//      ▲                                 │                              │
//      └────────── agent lost ───────────┴──────────────────────────────┘
//
// Every step makes two things of a failure. AgentError means that the
// connection is lost, and the link waits for the agent again. Anything else,
// an exception of a handler above all, means that nobody knows any more what
// the handlers hold, and ends the loop with an error; so does an agent that
// comes back with another configuration than the handlers hold. The service
// manager then starts the program anew. After that, and after the destructor,
// no handler is called.
#ifndef VELCONFD_AGENT_LINK_H
#define VELCONFD_AGENT_LINK_H

#include <connect.h>
#include <event_source.h>
#include <velmidware_loop.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent_connection.h"
#include "agent_error.h"
#include "handler_config.h"
#include "handler_lists.h"
#include "provider.h"
#include "retry_delay.h"
#include "velconfd/handlers.h"
#include "velconfd_interface.h"

namespace velconfd {

class AgentLink {
 public:
  AgentLink(velmw_t* middleware, zlog_category_s* log, const char* name, HandlerLists handlers,
            ELEM_CONFD_PHASE_ET phase);
  ~AgentLink();

  AgentLink(const AgentLink&) = delete;
  AgentLink& operator=(const AgentLink&) = delete;

  VelConfdInterface& Interface() { return interface_; }

 private:
  using Step = void (AgentLink::*)();
  void InLoop(Step step) noexcept;

  void Connect();
  void TellConnected();
  void Serve();

  void TakeCommit();
  void CheckDataSocket();
  void WorkControl();
  void WorkWorker();

  void Lose(const AgentError& error);
  void LoseSoon();
  void LoseForSession();
  void TellLoss();
  void Await(const AgentError& error);
  void End(const std::string& reason);
  void Close();

  static int OnDataSocket(sd_event_source* source, int fd, std::uint32_t events,
                          void* self) noexcept;
  static int OnSubscriptionSocket(sd_event_source* source, int fd, std::uint32_t events,
                                  void* self) noexcept;
  static int OnIdleSocket(sd_event_source* source, int fd, std::uint32_t events,
                          void* self) noexcept;
  static int OnControlSocket(sd_event_source* source, int fd, std::uint32_t events,
                             void* self) noexcept;
  static int OnWorkerSocket(sd_event_source* source, int fd, std::uint32_t events,
                            void* self) noexcept;
  static int OnLostSession(sd_event_source* source, std::uint64_t now, void* self) noexcept;
  static int OnRetry(sd_event_source* source, std::uint64_t now, void* self) noexcept;

  velmw_t* middleware_;
  sd_event* loop_;
  zlog_category_s* log_;
  HandlerLists handlers_;
  ELEM_CONFD_PHASE_ET phase_;

  HandlerConfig config_;
  VelConfdInterface interface_;
  std::optional<AgentConnection> connection_;
  std::optional<Provider> provider_;
  // Of lost connections. A handler that has delayed a reply keeps the
  // transaction and does not know of the loss, so what it points to stays
  // until this object goes.
  std::vector<DaemonContext> retired_;
  bool told_ = false;  // the handlers, of the connection
  bool serving_ = false;
  bool was_ready_ = false;
  std::string last_failure_;  // to connect; logged once
  RetryDelay retry_delay_;

  ipc::SocketWatch agent_watch_;
  ipc::EventSource data_watch_;
  ipc::EventSource subscription_watch_;
  ipc::EventSource control_watch_;
  ipc::EventSource worker_watch_;
  ipc::EventSource retry_;
  ipc::EventSource lost_session_;
};

}  // namespace velconfd

#endif
