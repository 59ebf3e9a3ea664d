// The action handler: clears MEP statistics for operators.
#ifndef CFM_STATUS_ACTIONS_H
#define CFM_STATUS_ACTIONS_H

#include "velconfd/handlers.h"

struct zlog_category_s;

namespace cfm {

class Client;
class StatisticsCallpoint;

class Actions : public velconfd::ActionHandler {
 public:
  // All are borrowed and outlive the handler. A null client or callpoint ends
  // the process with a fatal fault.
  Actions(zlog_category_s* log, Client* client, StatisticsCallpoint* statistics_callpoint);

  const char* GetActionPoint() const override;
  // The parameters, all optional, narrow down which MEPs are meant: MD and MA
  // name, MEP id (0 for any). An unknown one is refused and nothing is
  // cleared; one of the wrong type ends the process with an assertion.
  int ActionCb(confd_user_info* user, xml_tag* name, confd_hkeypath_t* kp,
               confd_tag_value_t* params, int nparams) override;

 private:
  zlog_category_s* log_;
  Client* client_;
  StatisticsCallpoint* statistics_callpoint_;
};

}  // namespace cfm

#endif
