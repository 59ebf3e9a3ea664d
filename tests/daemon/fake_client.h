// The CFM manager client without a manager.
#ifndef CFM_TESTS_DAEMON_FAKE_CLIENT_H
#define CFM_TESTS_DAEMON_FAKE_CLIENT_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cfm/client.h"

namespace fake {

void ResetClient();

// Every hierarchy that ApplyConfiguration was given.
std::vector<cfm::Hierarchy>& Applied();
// What ApplyConfiguration returns.
void SetApplyResult(int result);

struct ClearRequest {
  std::optional<std::string> md;
  std::optional<std::string> ma;
  int mep;
  bool operator==(const ClearRequest&) const = default;
};
std::vector<ClearRequest>& ClearRequests();
// How often RequestStatistics was called.
int StatisticsRequests();
// Called inside RequestStatistics.
void OnStatisticsRequest(std::function<void()> hook);

// Called inside the constructor; may throw.
using ConstructionHook = std::function<void(velmw_t*, cfm::ReceivedInformationHandler*)>;
void OnClientConstruction(ConstructionHook hook);
// Called inside the destructor.
void OnClientDestruction(std::function<void()> hook);
// The object that is alive, or null.
cfm::Client* LiveClient();

}  // namespace fake

#endif
