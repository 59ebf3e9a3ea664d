// Sessions that begin at the agent later than for the program.
#ifndef CONFD_CLIENT_LATE_SESSION_H
#define CONFD_CLIENT_LATE_SESSION_H

#include "confd_client/connection.h"

namespace confd {

// Begins the connection's session, if it has one that is not begun. The agent
// opens it before it answers the next request of the connection. Throws
// ApiError.
void BeginAtAgent(Connection& connection);
// The same, and the agent has opened it when the call returns.
void BeginAndAwait(Connection& connection);

}  // namespace confd

#endif
