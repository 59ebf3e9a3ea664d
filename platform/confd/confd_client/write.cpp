// The write calls of sessions on the operational datastore.
#include <confd_cdb.h>

#include <utility>

#include "confd_client/daemon.h"
#include "confd_client/given_configuration.h"
#include "confd_client/path_arguments.h"
#include "confd_client/path_call.h"
#include "confd_client/path_message.h"
#include "confd_client/wire_value.h"
#include "fail_point.h"

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

OperationalWrite WriteMessage(OperationalWrite::Operation operation, const Path& path,
                              const confd_value_t* value) {
  OperationalWrite write;
  write.set_operation(operation);
  *write.mutable_path() = PathMessage(path);
  if (value != nullptr) {
    *write.mutable_value() = WireValue(*value);
  }
  return write;
}

// What a write makes void is known when it returns.
cfm::agent::Reply WriteNow(Connection& connection, OperationalWrite write) {
  connection.session->deferred.Send(connection.link);
  cfm::agent::Request request;
  *request.mutable_operational_write() = std::move(write);
  CFM_FAIL_POINT(confd_writing);
  cfm::agent::Reply reply = connection.link.Transact(request);
  CFM_FAIL_POINT(confd_written);
  for (const std::uint64_t id : reply.withdrawn()) {
    WithdrawRequest(id);
  }
  return reply;
}

void Delete(Connection& connection, OperationalWrite write, const Path& path) {
  write.set_hold(path.back().position.has_value());
  const cfm::agent::Reply reply = WriteNow(connection, std::move(write));
  DeferredWrites& deferred = connection.session->deferred;
  deferred.Forget();
  if (reply.held()) {
    deferred.KnowEntriesLeft(path, reply.entries_left());
  }
}

void CreateOrSet(Connection& connection, OperationalWrite write, const Path& path) {
  const Path entry = EntryOf(write.operation(), path);
  const bool is_new_list = !entry.empty() && connection.writable.Find(entry) == nullptr;
  write.set_tell_leaves(is_new_list);
  const cfm::agent::Reply reply = WriteNow(connection, std::move(write));
  if (is_new_list) {
    connection.writable.Learn(entry, reply.leaves());
  }
  DeferredWrites& deferred = connection.session->deferred;
  deferred.Forget();
  if (!entry.empty()) {
    deferred.Know(entry, connection.writable.Find(entry));
  }
}

// Every write goes this way. One that is sure to succeed waits until the next
// that is not, the next read, or the end of the session, and costs no round
// trip of its own.
int Write(Connection& connection, OperationalWrite::Operation operation, const Path& path,
          const confd_value_t* value) {
  CheckWritable(connection);
  if (operation == OperationalWrite::DELETE) {
    GivenConfiguration::Leave();  // it may withdraw all that commits wait for
  }
  OperationalWrite write = WriteMessage(operation, path, value);
  if (DeferredWrites& deferred = connection.session->deferred; deferred.CanTake(write, path)) {
    deferred.Take(std::move(write), connection.link);
  } else if (operation == OperationalWrite::DELETE) {
    Delete(connection, std::move(write), path);
  } else {
    CreateOrSet(connection, std::move(write), path);
  }
  return CONFD_OK;
}

}  // namespace
}  // namespace confd

extern "C" {

int cdb_create(int sock, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(
      sock, fmt, arguments, [](confd::Connection& connection, const confd::Path& path) {
        return confd::Write(connection, confd::OperationalWrite::CREATE, path, nullptr);
      });
}

int cdb_delete(int sock, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(
      sock, fmt, arguments, [](confd::Connection& connection, const confd::Path& path) {
        return confd::Write(connection, confd::OperationalWrite::DELETE, path, nullptr);
      });
}

int cdb_set_elem(int sock, confd_value_t* val, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(
      sock, fmt, arguments,
      [val](confd::Connection& connection, const confd::Path& path) {
        return confd::Write(connection, confd::OperationalWrite::SET, path, val);
      },
      val);
}

}  // extern "C"
