#include "role.h"

#include "data_session.h"
#include "frame.h"
#include "front_end.h"
#include "subscriber.h"
#include "utf8.h"

namespace agentd {
namespace {

// confd_load_schemas: all it wants is in the HelloReply.
class SchemaReader : public Role {
 public:
  void Handle(const cfm::agent::Request&) override {
    throw ipc::ProtocolError("a schema connection has no requests");
  }
};

}  // namespace

std::shared_ptr<Role> MakeRole(cfm::agent::Role wanted, const Services& services, Peer& peer) {
  switch (wanted) {
    case cfm::agent::ROLE_CDB_DATA:
      return std::make_shared<DataSession>(services, peer);
    case cfm::agent::ROLE_CDB_SUBSCRIPTION:
      return std::make_shared<Subscriber>(services, peer);
    case cfm::agent::ROLE_FRONT_END:
      return std::make_shared<FrontEnd>(services, peer);
    case cfm::agent::ROLE_SCHEMA:
      return std::make_shared<SchemaReader>();
    default:
      return nullptr;
  }
}

void SendReply(Peer& peer, cfm::agent::Reply reply) {
  cfm::agent::FromAgent message;
  *message.mutable_reply() = std::move(reply);
  peer.Send(message);
}

void SendProblems(Peer& peer, const Problems& problems) {
  cfm::agent::Reply reply;
  AddProblems(problems, reply);
  SendReply(peer, std::move(reply));
}

void AddProblems(const Problems& problems, cfm::agent::Reply& reply) {
  for (const Problem& problem : problems) {
    auto* error = reply.add_errors();
    error->set_code(problem.code);
    error->set_message(WellFormed(problem.message));
    error->set_path(WellFormed(problem.path));
    error->set_rule(WellFormed(problem.rule));
  }
}

}  // namespace agentd
