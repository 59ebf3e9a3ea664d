#include "confd_client/late_session.h"

#include "fail_point.h"

namespace confd {
namespace {

bool HasToBegin(const Connection& connection) {
  return connection.session && !connection.session->is_begun;
}

}  // namespace

void BeginAtAgent(Connection& connection) {
  if (!HasToBegin(connection)) {
    return;
  }
  cfm::agent::Request request;
  request.mutable_start_session()->set_database(connection.session->database);
  CFM_FAIL_POINT(confd_late_session_starting);
  connection.link.Send(request);
  connection.session->is_begun = true;
  CFM_FAIL_POINT(confd_late_session_started);
}

void BeginAndAwait(Connection& connection) {
  if (!HasToBegin(connection)) {
    return;
  }
  BeginAtAgent(connection);
  cfm::agent::Request request;
  request.mutable_get_txid();  // any request that has a reply
  connection.link.Transact(request);
}

}  // namespace confd
