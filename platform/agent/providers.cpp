#include "providers.h"

#include <confd_lib.h>

#include <algorithm>
#include <set>

#include "calendar.h"
#include "fail_point.h"
#include "log.h"

namespace agentd {
namespace {

using cfm::agent::ProviderStatus;
using Names = google::protobuf::RepeatedPtrField<std::string>;

bool Contains(const Names& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string DescribeLost(const ProviderStatus& lost) {
  return "data provider " + lost.name() + " (process " + std::to_string(lost.pid()) +
         ") is gone since " + CalendarText(lost.since());
}

std::string Joined(const auto& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

// Why none of the lost and living providers answers for a point. `living` is
// the one that has it, if any; `never` is for a point that nobody ever had.
std::string Absence(const std::string& name, const Provider* living,
                    const std::vector<ProviderStatus>& lost,
                    const Names& (*points)(const ProviderStatus&), const std::string& kind,
                    const std::string& never) {
  if (living != nullptr) {
    return living->Describe() + (living->IsAlive() ? " has no worker connection" : " is gone");
  }
  for (const ProviderStatus& each : lost) {
    if (Contains(points(each), name)) {
      return DescribeLost(each) + " and nobody answers for its " + kind + " " +
             Joined(points(each));
    }
  }
  return never;
}

const Names& Callpoints(const ProviderStatus& status) {
  return status.callpoints();
}
const Names& Actionpoints(const ProviderStatus& status) {
  return status.actionpoints();
}

void Take(Names& names, const std::string& name) {
  const auto found = std::find(names.begin(), names.end(), name);
  if (found != names.end()) {
    names.erase(found);
  }
}

Problem Refused(const std::string& cause) {
  return {.message = "register a data provider: " + cause, .code = CONFD_ERR_INUSE};
}

}  // namespace

Providers::Providers(sd_event* loop, const ProviderModel& model, ProviderRules rules)
    : loop_(loop), model_(model), rules_(std::move(rules)), soon_(loop, [this] { Sweep(); }) {}

std::uint64_t Providers::Connect(Peer& control) {
  const std::uint64_t number = ++last_provider_;
  const auto on_hang = [this, number](const std::string& why) {
    CFM_FAIL_POINT(agent_provider_given_up);
    dying_[number] = providers_.at(number)->Describe() + " " + why;
    soon_.Set(std::chrono::microseconds(0));
  };
  providers_[number] =
      std::make_unique<Provider>(loop_, rules_, number, control, last_request_, on_hang);
  CFM_FAIL_POINT(agent_provider_connected);
  return number;
}

Problems Providers::Attach(std::uint64_t number, Peer& worker) {
  Provider* provider = WithNumber(number);
  if (provider == nullptr) {
    return {{.message = "there is no data provider " + std::to_string(number) +
                        ": connect the control socket first"}};
  }
  if (provider->HasWorker()) {
    return {{.message = provider->Describe() + " has a worker connection already"}};
  }
  provider->SetWorker(worker);
  CFM_FAIL_POINT(agent_provider_attached);
  return {};
}

Problems Providers::Register(std::uint64_t number, const cfm::agent::RegisterProvider& request) {
  Provider* provider = WithNumber(number);
  if (provider == nullptr) {
    return {Refused("its worker connection is gone")};
  }
  const auto check = [](const Names& names, const auto& exists, const Points& taken,
                        const char* kind) -> Problems {
    for (const std::string& name : names) {
      if (!exists(name)) {
        Problem problem = Refused(std::string("the model has no ") + kind + " '" + name + "'");
        problem.code = CONFD_ERR_BADPATH;
        return {problem};
      }
      const auto other = taken.find(name);
      if (other != taken.end() && other->second->IsAlive()) {
        return {Refused(std::string("the ") + kind + " '" + name + "' is in the hands of " +
                        other->second->Describe() + ", which is alive: stop that program first")};
      }
    }
    return {};
  };
  const auto has_callpoint = [this](const std::string& name) { return model_.HasCallpoint(name); };
  const auto has_action = [this](const std::string& name) { return model_.HasActionpoint(name); };
  if (Problems problems = check(request.callpoints(), has_callpoint, callpoints_, "callpoint");
      !problems.empty()) {
    return problems;
  }
  if (Problems problems = check(request.actionpoints(), has_action, actionpoints_, "action point");
      !problems.empty()) {
    return problems;
  }
  CFM_FAIL_POINT(agent_provider_registering);
  for (const std::string& name : request.callpoints()) {
    callpoints_[name] = provider;
    for (ProviderStatus& lost : lost_) {
      Take(*lost.mutable_callpoints(), name);
    }
  }
  for (const std::string& name : request.actionpoints()) {
    actionpoints_[name] = provider;
    for (ProviderStatus& lost : lost_) {
      Take(*lost.mutable_actionpoints(), name);
    }
  }
  std::erase_if(lost_, [](const ProviderStatus& lost) {
    return lost.callpoints().empty() && lost.actionpoints().empty();
  });
  provider->Registered();
  AGENT_LOG_INFO("%s answers for %d callpoints and %d action points", provider->Describe().c_str(),
                 request.callpoints_size(), request.actionpoints_size());
  CFM_FAIL_POINT(agent_provider_registered);
  on_change_();
  return {};
}

void Providers::Disconnected(std::uint64_t number, const Peer& peer) {
  const auto found = providers_.find(number);
  if (found != providers_.end()) {
    found->second->Disconnected(peer);
    dying_.emplace(number, found->second->Describe() + " is gone");
    soon_.Set(std::chrono::microseconds(0));
  }
}

// A provider stays in providers_ while it is being lost: those who hear of it
// may end and want to be forgotten, and closing its connections tells of their
// end once more.
void Providers::Sweep() {
  while (!dying_.empty()) {
    const auto [number, reason] = *dying_.begin();
    Provider& provider = *providers_.at(number);
    AGENT_LOG_WARNING("%s", reason.c_str());
    Remember(provider);
    CFM_FAIL_POINT(agent_provider_losing);
    provider.Lose(reason);
    CFM_FAIL_POINT(agent_provider_lost);
    providers_.erase(number);
    dying_.erase(number);
  }
  on_change_();
}

void Providers::Remember(const Provider& provider) {
  ProviderStatus status = StatusOf(provider);
  const auto is_its = [&](const auto& point) { return point.second == &provider; };
  std::erase_if(callpoints_, is_its);
  std::erase_if(actionpoints_, is_its);
  if (!status.callpoints().empty() || !status.actionpoints().empty()) {
    status.set_lost(true);
    status.set_since(CalendarNow());
    status.clear_silent_seconds();
    lost_.push_back(std::move(status));
  }
}

void Providers::OnReply(std::uint64_t number, const cfm::agent::ProviderReply& reply) {
  if (Provider* provider = WithNumber(number)) {
    provider->OnReply(reply);
  }
}

Provider* Providers::Find(const Points& points, const std::string& name) const {
  const auto found = points.find(name);
  const bool can_answer = ceased_.empty() && found != points.end() && found->second->IsAlive() &&
                          found->second->HasWorker();
  return can_answer ? found->second : nullptr;
}

std::string Providers::UnregisteredCallpoints() const {
  std::vector<std::string> names;
  for (const std::string& name : model_.Callpoints()) {
    const bool is_known = callpoints_.contains(name) ||
                          std::any_of(lost_.begin(), lost_.end(), [&](const ProviderStatus& each) {
                            return Contains(each.callpoints(), name);
                          });
    if (!is_known) {
      names.push_back(name);
    }
  }
  return "no data provider has registered for the callpoints " + Joined(names);
}

std::string Providers::AbsenceOfCallpoint(const std::string& name) const {
  if (!ceased_.empty()) {
    return ceased_;
  }
  const auto found = callpoints_.find(name);
  return Absence(name, found != callpoints_.end() ? found->second : nullptr, lost_, Callpoints,
                 "callpoints", UnregisteredCallpoints());
}

std::string Providers::AbsenceOfActionpoint(const std::string& name) const {
  if (!ceased_.empty()) {
    return ceased_;
  }
  const auto found = actionpoints_.find(name);
  return Absence(name, found != actionpoints_.end() ? found->second : nullptr, lost_, Actionpoints,
                 "action points",
                 "no data provider has registered the action point '" + name + "'");
}

Provider* Providers::WithNumber(std::uint64_t number) {
  const auto found = providers_.find(number);
  return found != providers_.end() && found->second->IsAlive() ? found->second.get() : nullptr;
}

std::vector<std::uint64_t> Providers::EntriesGone(const std::vector<EntryPtr>& entries) {
  std::vector<std::uint64_t> withdrawn;
  for (const auto& [number, provider] : providers_) {
    for (const EntryPtr& entry : entries) {
      provider->EntryGone(entry, withdrawn);
    }
  }
  return withdrawn;
}

void Providers::Ping(pid_t pid) {
  std::set<Provider*> registered;
  for (const Points* points : {&callpoints_, &actionpoints_}) {
    for (const auto& [name, provider] : *points) {
      registered.insert(provider);
    }
  }
  for (Provider* provider : registered) {
    if (provider->Pid() == pid) {
      provider->Ping();
    }
  }
}

void Providers::Forget(const Asker& asker) {
  for (const auto& [number, provider] : providers_) {
    provider->Forget(asker);
  }
}

void Providers::Cease(const std::string& why) {
  ceased_ = why;
  for (const auto& [number, provider] : providers_) {
    provider->MissDelayed(why);
  }
}

std::string Providers::Unfinished() const {
  std::string names;
  for (const auto& [number, provider] : providers_) {
    if (provider->IsAsked()) {
      names += (names.empty() ? "" : ", ") + provider->Describe();
    }
  }
  return names;
}

void Providers::Resume() {
  for (const auto& [number, provider] : providers_) {
    provider->Pump();
  }
}

cfm::agent::ProviderStatus Providers::StatusOf(const Provider& provider) const {
  ProviderStatus status;
  status.set_name(provider.Name());
  status.set_pid(provider.Pid());
  status.set_lost(!provider.IsAlive());
  status.set_since(provider.Since());
  status.set_silent_seconds(provider.SilentSeconds());
  for (const auto& [name, owner] : callpoints_) {
    if (owner == &provider) {
      status.add_callpoints(name);
    }
  }
  for (const auto& [name, owner] : actionpoints_) {
    if (owner == &provider) {
      status.add_actionpoints(name);
    }
  }
  return status;
}

void Providers::Describe(cfm::agent::Status& status) const {
  for (const auto& [number, provider] : providers_) {
    ProviderStatus each = StatusOf(*provider);
    if (!each.callpoints().empty() || !each.actionpoints().empty()) {
      *status.add_providers() = std::move(each);
    }
  }
  for (const ProviderStatus& lost : lost_) {
    *status.add_providers() = lost;
  }
}

}  // namespace agentd
