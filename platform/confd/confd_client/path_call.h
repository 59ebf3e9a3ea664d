// What all calls on a path of a datastore have in common.
#ifndef CONFD_CLIENT_PATH_CALL_H
#define CONFD_CLIENT_PATH_CALL_H

#include "confd_client/connection.h"
#include "confd_client/path_parser.h"

namespace confd {

// Parses the path and runs the body of a call on it; a failure says which path
// it was. `results`: addresses of the caller's that must not be null.
template <typename Body, typename... Results>
int AtPath(int sock, const char* format, Arguments& arguments, Body body,
           Results... results) noexcept {
  return OnConnection(sock, CDB_DATA_SOCKET, [&](Connection& connection) {
    const Path path = ParseFormat(format, arguments);
    if ((!results || ...)) {
      throw ApiError(CONFD_ERR_PROTOUSAGE, PathText(path) + ": an address that was given is null");
    }
    try {
      return body(connection, path);
    } catch (const ApiError& error) {
      throw error.About(PathText(path));
    } catch (const ipc::ProtocolError& error) {
      throw ipc::ProtocolError(PathText(path) + ": " + error.what());
    }
  });
}

}  // namespace confd

#endif
