// The write calls of sessions on the operational datastore.
#include <confd_cdb.h>

#include "confd_client/daemon.h"
#include "confd_client/path_call.h"
#include "confd_client/path_message.h"
#include "confd_client/wire_value.h"

namespace confd {
namespace {

using cfm::agent::OperationalWrite;

void CheckWritable(const Connection& connection) {
  if (!connection.session) {
    throw ApiError(CONFD_ERR_NOSESSION,
                   "no session is open on this socket: call cdb_start_session first");
  }
  if (connection.session->database != CDB_OPERATIONAL) {
    throw ApiError(CONFD_ERR_NOT_WRITABLE,
                   "the session is not on CDB_OPERATIONAL; configuration changes by commits only");
  }
}

// Every write goes this way, so writes of one session that may travel together
// would be gathered here; each is a round trip of its own. What it makes void
// is known when it returns.
int Write(Connection& connection, OperationalWrite::Operation operation, const Path& path,
          const confd_value_t* value) {
  CheckWritable(connection);
  cfm::agent::Request request;
  OperationalWrite& write = *request.mutable_operational_write();
  write.set_operation(operation);
  *write.mutable_path() = PathMessage(path);
  if (value != nullptr) {
    *write.mutable_value() = WireValue(*value);
  }
  const cfm::agent::Reply reply = connection.link.Transact(request);
  for (const std::uint64_t id : reply.withdrawn()) {
    WithdrawRequest(id);
  }
  return CONFD_OK;
}

}  // namespace
}  // namespace confd

extern "C" {

int cdb_create(int sock, const char* fmt, ...) {
  std::va_list list;
  va_start(list, fmt);
  confd::VariadicArguments arguments(list);
  va_end(list);
  return confd::AtPath(
      sock, fmt, arguments, [](confd::Connection& connection, const confd::Path& path) {
        return confd::Write(connection, confd::OperationalWrite::CREATE, path, nullptr);
      });
}

int cdb_delete(int sock, const char* fmt, ...) {
  std::va_list list;
  va_start(list, fmt);
  confd::VariadicArguments arguments(list);
  va_end(list);
  return confd::AtPath(
      sock, fmt, arguments, [](confd::Connection& connection, const confd::Path& path) {
        return confd::Write(connection, confd::OperationalWrite::DELETE, path, nullptr);
      });
}

int cdb_set_elem(int sock, confd_value_t* val, const char* fmt, ...) {
  std::va_list list;
  va_start(list, fmt);
  confd::VariadicArguments arguments(list);
  va_end(list);
  return confd::AtPath(
      sock, fmt, arguments,
      [val](confd::Connection& connection, const confd::Path& path) {
        return confd::Write(connection, confd::OperationalWrite::SET, path, val);
      },
      val);
}

}  // extern "C"
