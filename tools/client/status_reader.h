// Status records with all their leaves, those that data providers compute
// included.
#ifndef TOOLS_CLIENT_STATUS_READER_H
#define TOOLS_CLIENT_STATUS_READER_H

#include <functional>
#include <string>
#include <vector>

#include "agent_client.h"
#include "core/status_records.h"

namespace cfmctl {

struct StatusReading {
  StatusRecords records;
  std::vector<std::string> warnings;  // each once
};

// `connect` makes a connection with the agent. Everything is one request. For
// less, the records are found by what is written in them and read one by one,
// so that providers are asked for nothing else; one that goes away meanwhile
// is left out. Throws Failure.
StatusReading ReadStatus(const std::function<AgentClient()>& connect, const MepSelection& selection,
                         std::chrono::milliseconds timeout);

}  // namespace cfmctl

#endif
