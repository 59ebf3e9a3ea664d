// The status handler: publishes what the CFM manager tells of the MEPs in the
// operational datastore, and owns the data callpoints.
//
// A record is an entry of /status/oam/cfm/local or /status/oam/cfm/remote
// under a key that the key store allocates.
#ifndef CFM_STATUS_STATUS_H
#define CFM_STATUS_STATUS_H

#include <string>
#include <vector>

#include "cfm/records.h"
#include "status/statistics_callpoint.h"
#include "status/status_data.h"
#include "status/status_receiver.h"
#include "velconfd/handlers.h"

struct zlog_category_s;

namespace cfm {

class Client;

class Status : public velconfd::StatusHandler {
 public:
  // All are borrowed and outlive the handler. Registers with the receiver.
  Status(zlog_category_s* log, StatusReceiver* receiver, Client* client);
  // No notification reaches the handler once its destruction has begun.
  ~Status() override;

  // An invalidation that came while ConfD was not there is carried out.
  void ConfdConnected(ELEM_CONFD_PHASE_ET phase) override;
  void ConfdDisconnected() override;
  // The statistics callpoint first, then those of InitCallpointIds.
  const std::vector<velconfd::DataHandler::Callpoint*>& GetCallpoints() const override;

  // Lives as long as the handler.
  StatisticsCallpoint* GetStatisticsCallpoint();

  // Writes all leaves of a record, creating it before the first time. A leaf
  // that cannot be written is logged and skipped; when the record cannot be
  // created nothing is written, and its key is lost.
  void LocalMepUpdate(std::string md, std::string ma, int mep, const st_lmep_status& status);
  void RemoteMepUpdate(std::string md, std::string ma, int local_mep, int remote_mep,
                       const st_rmep_status& status);
  // Delete a record and free its key. A record that cannot be deleted ends the
  // process with a fatal fault.
  void LocalMepDelete(std::string md, std::string ma, int mep);
  void RemoteMepDelete(std::string md, std::string ma, int local_mep, int remote_mep);
  // Deletes all records and forgets all MEPs; put off until ConfD is connected
  // when it is not. Stops at a record that cannot be deleted, and forgets
  // nothing then.
  void InvalidateAllStatus();

  // What the data model has for the CFM manager's values: text, or the value
  // of an enumeration. An unknown one is a fault and gets the fallback; an
  // unknown remote MEP state is fatal.
  static std::string ConvertMacConfd(const st_mac& mac);
  static int ConvertInterfaceStatus(const InterfaceStatus& status);
  static int ConvertPortState(const PortStatus& status);
  static std::string ConvertBlockState(const BlockState& state);
  static int ConvertRemoteMepState(const en_rmep_state& state);

  // Names of the callpoints of the computed leaves.
  static std::vector<std::string> InitCallpointIds();

 private:
  zlog_category_s* log_;
  StatusReceiver* receiver_;
  std::vector<velconfd::DataHandler::Callpoint*> callpoints_;  // owned
  StatisticsCallpoint* statistics_callpoint_;                  // the first of them
  StatusData status_data_;
  bool agent_ready_ = false;
  bool invalidation_pending_ = false;
};

}  // namespace cfm

#endif
