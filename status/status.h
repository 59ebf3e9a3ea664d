// The status handler: owner of the data callpoints, and the consumer of the
// CFM manager's notifications.
#ifndef CFM_STATUS_STATUS_H
#define CFM_STATUS_STATUS_H

#include <vector>

#include "status/statistics_callpoint.h"
#include "status/status_receiver.h"
#include "velconfd/handlers.h"

struct zlog_category_s;

namespace cfm {

class Client;

// Publishes no status yet and registers no callpoint.
class Status : public velconfd::StatusHandler {
 public:
  // All are borrowed and outlive the handler.
  Status(zlog_category_s* log, StatusReceiver* receiver, Client* client);
  // No notification reaches the handler once its destruction has begun.
  ~Status() override;

  const std::vector<velconfd::DataHandler::Callpoint*>& GetCallpoints() const override;

  // Lives as long as the handler.
  StatisticsCallpoint* GetStatisticsCallpoint();

 private:
  zlog_category_s* log_;
  StatusReceiver* receiver_;
  std::vector<velconfd::DataHandler::Callpoint*> callpoints_;
  StatisticsCallpoint statistics_callpoint_;
};

}  // namespace cfm

#endif
