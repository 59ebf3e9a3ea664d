#include "daemon/fake_client.h"

#include <utility>

#include "daemon/fake_platform.h"

namespace fake {
namespace {

struct State {
  std::vector<cfm::Hierarchy> applied;
  int apply_result = 0;
  std::vector<ClearRequest> clear_requests;
  int statistics_requests = 0;
  std::function<void()> statistics_hook = [] {};
  std::function<void()> destruction_hook = [] {};
  ConstructionHook hook = [](velmw_t*, cfm::ReceivedInformationHandler*) {};
};

State& Current() {
  static State state;
  return state;
}

cfm::Client* live_client = nullptr;

std::optional<std::string> Name(const char* name) {
  return name == nullptr ? std::nullopt : std::optional<std::string>(name);
}

}  // namespace

void ResetClient() {
  Current() = State{};
}
std::vector<cfm::Hierarchy>& Applied() {
  return Current().applied;
}
void SetApplyResult(int result) {
  Current().apply_result = result;
}
std::vector<ClearRequest>& ClearRequests() {
  return Current().clear_requests;
}
int StatisticsRequests() {
  return Current().statistics_requests;
}
void OnStatisticsRequest(std::function<void()> hook) {
  Current().statistics_hook = std::move(hook);
}
void OnClientConstruction(ConstructionHook hook) {
  Current().hook = std::move(hook);
}
void OnClientDestruction(std::function<void()> hook) {
  Current().destruction_hook = std::move(hook);
}
cfm::Client* LiveClient() {
  return live_client;
}

}  // namespace fake

namespace cfm {

class Client::Impl {};

Client::Client(velmw_t* middleware, ReceivedInformationHandler* receiver) {
  fake::Event("Client");
  fake::Current().hook(middleware, receiver);
  fake::live_client = this;
}

Client::~Client() {
  fake::Event("~Client");
  fake::Current().destruction_hook();
  fake::live_client = nullptr;
}

int Client::ApplyConfiguration(const std::map<std::string, hierarchy_md>& domains) {
  fake::Event("ApplyConfiguration");
  fake::Applied().push_back(domains);
  return fake::Current().apply_result;
}

int Client::RequestStatistics() {
  fake::Event("RequestStatistics");
  ++fake::Current().statistics_requests;
  fake::Current().statistics_hook();
  return -1;
}

int Client::ClearStatistics(const char* md, const char* ma, unsigned short mep) {
  fake::Event("ClearStatistics");
  fake::ClearRequests().push_back({fake::Name(md), fake::Name(ma), mep});
  return -1;
}

}  // namespace cfm
