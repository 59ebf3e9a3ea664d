// A CDB data connection: sessions that read one state of the configuration, and
// sessions that read and write operational data as it is.
#ifndef AGENT_DATA_SESSION_H
#define AGENT_DATA_SESSION_H

#include <optional>

#include "operational_store.h"
#include "role.h"
#include "snapshot.h"

namespace agentd {

class DataSession : public Role {
 public:
  DataSession(const Services& services, Peer& peer) : services_(services), peer_(peer) {}
  ~DataSession() override;

  void Handle(const cfm::agent::Request& request) override;
  // Programs hold sessions open only while they read or write.
  bool IsAtWork() const override { return state_ != State::kClosed; }
  // When it keeps others waiting. A program that goes on in the middle of a session
  // that does not can end it in order.
  bool IsCountedOn() const override;
  bool HoldsAnswerBack() const override { return state_ == State::kWaiting; }

 private:
  enum class State { kClosed, kWaiting, kOpen, kRefused };

  void Start(const cfm::agent::StartSession& request);
  void Open(const cfm::agent::StartSession& request);
  void OpenOperational(const cfm::agent::StartSession& request);
  void Refuse(const cfm::agent::StartSession& request, Problem problem);
  void End();
  void Fetch(const cfm::agent::Fetch& request);
  void Write(const cfm::agent::OperationalWrite& request);
  void WriteDeferred(const cfm::agent::DeferredWrites& request);
  void Answer(const cfm::agent::OperationalWrite& request, const Problems& problems);
  void Delete(const cfm::agent::OperationalWrite& request);
  // Makes one deferred write; adds what it withdraws.
  void WriteOne(const cfm::agent::OperationalWrite& write, cfm::agent::Reply& reply);
  // The entries that are gone. Adds the requests that this withdraws.
  Result<std::vector<EntryPtr>> Delete(const cfm::agent::Path& path, cfm::agent::Reply& reply);
  Problems CheckSession(const char* operation) const;
  void SendTxid();

  Services services_;
  Peer& peer_;
  State state_ = State::kClosed;
  SnapshotPtr snapshot_;  // while open on the running datastore
  Problem refusal_;       // while refused: an answer to the first read
};

}  // namespace agentd

#endif
