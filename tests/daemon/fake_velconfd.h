// The handler framework without an agent: keeps what it was given.
#ifndef CFM_TESTS_DAEMON_FAKE_VELCONFD_H
#define CFM_TESTS_DAEMON_FAKE_VELCONFD_H

#include <array>
#include <string>
#include <vector>

#include "velconfd/app_interface.h"

namespace fake {

void ResetVelconfd();

// Arguments of the last AppInterface.
struct AgentInterface {
  velmw_t* middleware = nullptr;
  zlog_category_s* log = nullptr;
  std::string name;
  std::vector<velconfd::ConfigHandler*> config_handlers;
  std::vector<velconfd::ActionHandler*> action_handlers;
  std::vector<velconfd::DataHandler*> data_handlers;
  ELEM_CONFD_PHASE_ET phase = ELEM_CONFD_PHASE_0;
  int option = -1;
  zlog_category_s* action_handler_log = nullptr;  // as its base was constructed
};
AgentInterface& LastAgentInterface();
// Lets the next AppInterface throw std::runtime_error.
void FailNextAgentInterface();

// Connections to the agent, told apart by their numbers. AppInterface gives
// number 1 to the data handlers.
VelConfdInterface* Connection(int number);
// Socket of the sessions to come; 40 at first, negative for a failure. A
// session's opening and end are events and calls of the ConfD API, such as
// "open operational read=0 connection=1" and "close".
void SetSessionSocket(int socket);
// Sessions that are open.
int OpenSessions();

// Callpoints that were destroyed, in order.
std::vector<const velconfd::DataHandler::Callpoint*>& DestroyedCallpoints();

// Options of the last StatusHandler.
std::array<bool, 3>& StatusHandlerOptions();

}  // namespace fake

#endif
