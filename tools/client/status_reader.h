// Status records with the leaves that are wanted, those that data providers
// compute included.
#ifndef TOOLS_CLIENT_STATUS_READER_H
#define TOOLS_CLIENT_STATUS_READER_H

#include <string>
#include <vector>

#include "agent_client.h"
#include "core/status_records.h"

namespace cfmctl {

struct StatusReading {
  StatusRecords records;
  std::vector<std::string> warnings;
};

// One request, which names the leaves and the MEPs that are selected: providers
// are asked for nothing else. Throws Failure.
StatusReading ReadStatus(AgentClient client, const MepSelection& selection,
                         const std::vector<std::string>& leaves);

}  // namespace cfmctl

#endif
