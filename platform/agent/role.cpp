#include "role.h"

#include <unistd.h>

#include <algorithm>
#include <span>

#include "data_session.h"
#include "frame.h"
#include "front_end.h"
#include "peer.h"
#include "provider_roles.h"
#include "subscriber.h"
#include "utf8.h"

namespace agentd {
namespace {

// A document can be wrong in more places than anybody reads, or a frame holds.
constexpr std::size_t kMostProblemsTold = 200;

// confd_load_schemas: all it wants is in the HelloReply.
class SchemaReader : public Role {
 public:
  void Handle(const cfm::agent::Request&) override {
    throw ipc::ProtocolError("a schema connection has no requests");
  }
};

Result<std::shared_ptr<Role>> MakeWorker(std::uint64_t provider, const Services& services,
                                         Peer& peer) {
  if (Problems problems = services.providers.Attach(provider, peer); !problems.empty()) {
    return problems;
  }
  return std::shared_ptr<Role>(std::make_shared<ProviderWorker>(services, peer, provider));
}

}  // namespace

std::string OnlyLooks(const Peer& peer, const std::string& wish) {
  return "user " + peer.User() + " may look, but not " + wish + ": become a member of group " +
         ipc::GroupName(getegid()) + " of agentd, or ask one";
}

Result<std::shared_ptr<Role>> MakeRole(const cfm::agent::Hello& hello, const Services& services,
                                       Peer& peer) {
  using RolePtr = std::shared_ptr<Role>;
  switch (hello.role()) {
    case cfm::agent::ROLE_CDB_DATA:
      return RolePtr(std::make_shared<DataSession>(services, peer));
    case cfm::agent::ROLE_CDB_SUBSCRIPTION:
      return RolePtr(std::make_shared<Subscriber>(services, peer));
    case cfm::agent::ROLE_FRONT_END:
      return RolePtr(std::make_shared<FrontEnd>(services, peer));
    case cfm::agent::ROLE_SCHEMA:
      return RolePtr(std::make_shared<SchemaReader>());
    case cfm::agent::ROLE_CONTROL:
      return RolePtr(std::make_shared<ProviderControl>(services, peer));
    case cfm::agent::ROLE_WORKER:
      return MakeWorker(hello.provider(), services, peer);
    default:
      return Problem{.message = "agentd has no role " + std::to_string(hello.role())};
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
  const std::size_t told = std::min(problems.size(), kMostProblemsTold);
  for (const Problem& problem : std::span(problems).first(told)) {
    auto* error = reply.add_errors();
    error->set_code(problem.code);
    error->set_message(WellFormed(problem.message));
    error->set_path(WellFormed(problem.path));
    error->set_rule(WellFormed(problem.rule));
  }
  if (problems.size() > told) {
    reply.add_errors()->set_message("and " + std::to_string(problems.size() - told) +
                                    " more problems");
  }
}

}  // namespace agentd
