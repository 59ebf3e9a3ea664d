// Questions to the datastore within a session. Each is answered from what the
// session has read already; one Fetch brings what is missing, and more of what
// is around it.
#ifndef CONFD_CLIENT_READER_H
#define CONFD_CLIENT_READER_H

#include "confd_client/connection.h"

namespace confd {

// Each throws ApiError, CONFD_ERR_NOSESSION outside a session, and
// ipc::ProtocolError for an answer that makes no sense.

// Of a leaf or leaf-list, its default included; null without one, which is
// usual and so no exception. Valid as long as the session.
const cfm::agent::Value* FindValue(Connection& connection, const Path& path);

int CountEntries(Connection& connection, const Path& path);

bool Exists(Connection& connection, const Path& path);

}  // namespace confd

#endif
