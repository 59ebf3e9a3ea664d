// What a connection turns into once it has said what it is for.
#ifndef AGENT_ROLE_H
#define AGENT_ROLE_H

#include <sys/types.h>

#include <memory>
#include <string>

#include "agent.pb.h"
#include "problem.h"

namespace agentd {

class Announcement;
class Candidate;
class CommitQueue;
class Datastore;
class Ending;
class Heartbeat;
class LockTable;
class Model;
class OperationalStore;
class OperationalWatch;
class ProviderModel;
class Providers;
class StatusBoard;
class Subscriptions;
class WriterHold;

// What the roles work on; outlives them.
struct Services {
  const Model& model;
  Datastore& datastore;
  Candidate& candidate;
  LockTable& locks;
  Subscriptions& subscriptions;
  Announcement& announcement;
  CommitQueue& commits;
  Heartbeat& heartbeat;
  StatusBoard& status;
  const ProviderModel& provider_model;
  OperationalStore& operational;
  WriterHold& writers;
  OperationalWatch& watch;
  Providers& providers;
  const Ending& ending;
};

// The other end of a connection.
class Peer {
 public:
  virtual ~Peer() = default;
  virtual void Send(const cfm::agent::FromAgent& message) = 0;
  // Ends the connection with a line in the log and destroys the role. Not
  // from inside Role::Handle: that throws ipc::ProtocolError instead.
  virtual void Drop(const std::string& reason) = 0;
  virtual const std::string& Name() const = 0;
  virtual pid_t Pid() const = 0;
  // Login name of the process's user; its number when it has none.
  virtual const std::string& User() const = 0;
  // False for one that may only look.
  virtual bool MayChange() const = 0;
  // What waits for the peer to read it.
  virtual std::size_t QueuedBytes() const = 0;
  std::string Describe() const { return Name() + " (process " + std::to_string(Pid()) + ")"; }
};

class Role : public std::enable_shared_from_this<Role> {
 public:
  virtual ~Role() = default;
  // Throws ipc::ProtocolError when the request is out of place; the
  // connection then ends.
  virtual void Handle(const cfm::agent::Request& request) = 0;
  // Whether the agent holds an answer back, and with it a program that waits
  // for nothing else.
  virtual bool HoldsAnswerBack() const { return false; }
  // Whether others wait for the program through it, or may have to: it ends when
  // the program is given up.
  virtual bool IsCountedOn() const { return false; }
  // What the role adds to the reply to Hello.
  virtual void Welcome(cfm::agent::HelloReply&) const {}
  // Whether something is begun and not finished that the agent's end would cut
  // off.
  virtual bool IsAtWork() const { return false; }
  // The agent ends now: tells the peer what becomes of what it waits for.
  virtual void GiveUp() {}
};

// What a peer is told that asks for what it may not.
std::string OnlyLooks(const Peer& peer, const std::string& wish);

// The role that Hello asks for. Problems say why it cannot be had.
Result<std::shared_ptr<Role>> MakeRole(const cfm::agent::Hello& hello, const Services& services,
                                       Peer& peer);

void SendReply(Peer& peer, cfm::agent::Reply reply);
// A reply that holds the problems, or says that there is none.
void SendProblems(Peer& peer, const Problems& problems);
void AddProblems(const Problems& problems, cfm::agent::Reply& reply);

}  // namespace agentd

#endif
