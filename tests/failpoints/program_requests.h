// Requests of operations that talk to the agent as a program does, not as an
// operator.
#ifndef TESTS_FAILPOINTS_PROGRAM_REQUESTS_H
#define TESTS_FAILPOINTS_PROGRAM_REQUESTS_H

#include <agent.pb.h>

#include <cstdint>

#include "front_end.h"

namespace test {

// Sessions of a data connection.
cfm::agent::Request LockedSession();
cfm::agent::Request ReadingSession();
cfm::agent::Request OperationalSession();
cfm::agent::Request EndOfSession();
cfm::agent::Request AskForTxid();

// An entry of the list of local MEPs that no MEP has.
cfm::agent::Request CreateEntry(std::int64_t id);
// The entry at that place; other writers wait from then on.
cfm::agent::Request DeleteAndHold(std::uint32_t position);
cfm::agent::Request DeleteEntry(std::int64_t id);

// Reads all status.
cfm::agent::Request ReadAll();

}  // namespace test

#endif
