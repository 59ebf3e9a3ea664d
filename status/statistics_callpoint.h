// The data callpoint of the MEP statistics.
#ifndef CFM_STATUS_STATISTICS_CALLPOINT_H
#define CFM_STATUS_STATISTICS_CALLPOINT_H

#include "velconfd/handlers.h"

namespace cfm {

// Answers no reads yet: the status handler does not hand it to the framework.
class StatisticsCallpoint : public velconfd::DataHandler::Callpoint {
 public:
  const char* GetCallpoint() override;
};

}  // namespace cfm

#endif
