// What the middleware offers to the other platform libraries of a process:
// its event loop, and a place to tell each other about the agent.
#ifndef VELMIDWARE_LOOP_H
#define VELMIDWARE_LOOP_H

#include <systemd/sd-event.h>

#include <functional>

#include "velmidware.h"

namespace velmw {

// Dispatch priorities in the loop; lower is served first. The agent comes
// before the manager, so that a withdrawn read is seen before the
// notification that made it void.
enum Priority { kAgentPriority = -10, kManagerPriority = 10 };

// State of the management agent's connection.
enum class AgentState {
  kDown,  // lost; what is published cannot be reached
  kUp,    // connected; published status has to be sent again
};

// The loop of the process; borrowed. Throws std::runtime_error for a null
// handle.
sd_event* EventLoop(velmw_t* handle);

// Ends velmw_loop_while with an error; `reason` goes to the log.
void EndLoopWithError(velmw_t* handle, const char* reason);

// Tells the service manager that the process now does its work.
void NotifyReady(velmw_t* handle);

// Tells everybody who asked by OnAgentState, in the order of asking.
void AnnounceAgentState(velmw_t* handle, AgentState state);
using AgentStateHandler = std::function<void(AgentState)>;
// Returns a number for ForgetAgentState. The handler is not called for the
// state that was announced before.
int OnAgentState(velmw_t* handle, AgentStateHandler handler);
void ForgetAgentState(velmw_t* handle, int registration);

}  // namespace velmw

#endif
