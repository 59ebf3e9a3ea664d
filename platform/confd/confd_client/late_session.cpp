#include "confd_client/late_session.h"

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
  connection.link.Send(request);
  connection.session->is_begun = true;
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
