// Sessions of a data connection, and the transaction id.
#include <confd_cdb.h>

#include <utility>

#include "confd_client/connection.h"
#include "confd_client/given_configuration.h"
#include "fail_point.h"

namespace confd {
namespace {

int StartSession(Connection& connection, cdb_db_type database, int flags) {
  if (connection.session) {
    throw ApiError(CONFD_ERR_INUSE, "a session is open on this socket already");
  }
  // A dead agent must show here, also where no answer is awaited.
  connection.link.CheckIdle();
  auto given = flags == 0 && database == CDB_RUNNING
                   ? GivenConfiguration::ForNewSession(connection.agent)
                   : nullptr;
  if (given != nullptr) {
    connection.session.emplace(Session{database, std::move(given), false, {}});
    CFM_FAIL_POINT(confd_session_given);
    return CONFD_OK;
  }
  cfm::agent::Request request;
  request.mutable_start_session()->set_database(database);
  request.mutable_start_session()->set_flags(static_cast<std::uint32_t>(flags));
  CFM_FAIL_POINT(confd_session_starting);
  if (flags != 0) {
    connection.link.Transact(request);
  } else {
    connection.link.Send(request);
  }
  connection.session.emplace(Session{database, std::make_shared<ReadCache>(), true, {}});
  CFM_FAIL_POINT(confd_session_started);
  return CONFD_OK;
}

int EndSession(Connection& connection) {
  if (!connection.session) {
    throw ApiError(CONFD_ERR_NOSESSION, "no session is open on this socket");
  }
  CFM_FAIL_POINT(confd_session_ending);
  Session session = std::move(*connection.session);
  connection.session.reset();
  if (!session.is_begun) {
    return CONFD_OK;
  }
  session.deferred.Send(connection.link);
  cfm::agent::Request request;
  request.mutable_end_session();
  connection.link.Send(request);
  CFM_FAIL_POINT(confd_session_ended);
  return CONFD_OK;
}

void WriteTxid(std::uint64_t number, cdb_txid& txid) {
  txid.s1 = static_cast<std::uint32_t>(number >> 32);
  txid.s2 = static_cast<std::uint32_t>(number);
  txid.s3 = 0;
}

int ReadTxid(Connection& connection, cdb_txid* txid) {
  if (txid == nullptr) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, "cdb_get_txid: the result's address is null");
  }
  if (connection.session) {
    connection.session->deferred.Send(connection.link);
  }
  cfm::agent::Request request;
  request.mutable_get_txid();
  CFM_FAIL_POINT(confd_txid_asking);
  WriteTxid(connection.link.Transact(request).txid(), *txid);
  return CONFD_OK;
}

}  // namespace
}  // namespace confd

extern "C" {

int cdb_start_session(int sock, enum cdb_db_type db) {
  return cdb_start_session2(sock, db, 0);
}

int cdb_start_session2(int sock, enum cdb_db_type db, int flags) {
  return confd::OnConnection(sock, CDB_DATA_SOCKET, [&](confd::Connection& connection) {
    return confd::StartSession(connection, db, flags);
  });
}

int cdb_end_session(int sock) {
  return confd::OnConnection(sock, CDB_DATA_SOCKET, confd::EndSession);
}

int cdb_get_txid(int sock, struct cdb_txid* txid) {
  return confd::OnConnection(sock, CDB_DATA_SOCKET, [&](confd::Connection& connection) {
    return confd::ReadTxid(connection, txid);
  });
}

}  // extern "C"
