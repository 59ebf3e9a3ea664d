// Requests of a front end to the agent.
#ifndef BENCH_REQUESTS_H
#define BENCH_REQUESTS_H

#include <agent.pb.h>

#include <string>

namespace bench {

// Merge and commit.
cfm::agent::Request CommitDocument(const std::string& xml);
cfm::agent::Request CommitLeaf(const std::string& path, const std::string& value);
cfm::agent::Request CommitDeletion(const std::string& path);

// Status below an instance path, everything included that is computed when it
// is read.
cfm::agent::Request ReadStatus(const std::string& path);
cfm::agent::Request WatchStatus(const std::string& path);
// Of all MEPs.
cfm::agent::Request ClearStatistics();

}  // namespace bench

#endif
