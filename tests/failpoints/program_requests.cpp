#include "program_requests.h"

#include <confd_lib.h>

#include <confd_cdb.h>

namespace test {
namespace {

using cfm::agent::OperationalWrite;
using cfm::agent::Request;

Request Start(cdb_db_type database, int flags) {
  Request request;
  request.mutable_start_session()->set_database(database);
  request.mutable_start_session()->set_flags(static_cast<std::uint32_t>(flags));
  return request;
}

// On the list of local MEPs; its last step is returned, too.
cfm::agent::PathStep& WriteToList(Request& request, OperationalWrite::Operation operation) {
  OperationalWrite& write = *request.mutable_operational_write();
  write.set_operation(operation);
  for (const char* name : {"status", "oam", "cfm", "local"}) {
    write.mutable_path()->add_steps()->set_name(name);
  }
  return *write.mutable_path()->mutable_steps(3);
}

void AddKey(cfm::agent::PathStep& step, std::int64_t id) {
  cfm::agent::Value& key = *step.add_keys();
  key.set_type(C_INT64);
  key.set_number(id);
}

}  // namespace

Request LockedSession() {
  return Start(CDB_RUNNING, CDB_LOCK_SESSION | CDB_LOCK_WAIT);
}

Request ReadingSession() {
  return Start(CDB_RUNNING, 0);
}

Request OperationalSession() {
  return Start(CDB_OPERATIONAL, 0);
}

Request EndOfSession() {
  Request request;
  request.mutable_end_session();
  return request;
}

Request AskForTxid() {
  Request request;
  request.mutable_get_txid();
  return request;
}

Request CreateEntry(std::int64_t id) {
  Request request;
  AddKey(WriteToList(request, OperationalWrite::CREATE), id);
  return request;
}

Request DeleteEntry(std::int64_t id) {
  Request request;
  AddKey(WriteToList(request, OperationalWrite::DELETE), id);
  return request;
}

Request DeleteAndHold(std::uint32_t position) {
  Request request;
  WriteToList(request, OperationalWrite::DELETE).set_position(position);
  request.mutable_operational_write()->set_hold(true);
  return request;
}

Request ReadAll() {
  return ReadOf({});
}

}  // namespace test
