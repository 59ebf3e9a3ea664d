#include "heartbeat.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace agentd {
namespace {

Vigil::Time Now() {
  return std::chrono::duration_cast<Vigil::Time>(
      std::chrono::steady_clock::now().time_since_epoch());
}

}  // namespace

Heartbeat::Heartbeat(sd_event* loop, const HeartbeatRules& rules, Senses senses)
    : rules_(rules), senses_(std::move(senses)), timer_(loop, [this] { OnTime(); }) {}

void Heartbeat::Await(Owner owner, pid_t pid, GiveUp give_up) {
  if (pid <= 0) {
    return;
  }
  const Vigil::Time now = Now();
  const auto [process, is_new] =
      processes_.try_emplace(pid, Watched{Vigil(rules_, now), now + rules_.interval});
  process->second.owners.insert_or_assign(owner, std::move(give_up));
  awaited_.insert_or_assign(owner, pid);
  // An earlier look, at another one, sets the timer anew.
  if (is_new && processes_.size() == 1) {
    timer_.Set(rules_.interval);
  }
}

void Heartbeat::Release(Owner owner) {
  const auto awaited = awaited_.find(owner);
  if (awaited == awaited_.end()) {
    return;
  }
  const auto process = processes_.find(awaited->second);
  awaited_.erase(awaited);
  process->second.owners.erase(owner);
  if (process->second.owners.empty()) {
    processes_.erase(process);
  }
  if (processes_.empty()) {
    timer_.Cancel();
  }
}

void Heartbeat::Heard(pid_t pid) {
  if (const auto process = processes_.find(pid); process != processes_.end()) {
    process->second.vigil.Heard();
  }
}

void Heartbeat::OnTime() {
  const Vigil::Time now = Now();
  std::vector<pid_t> due;
  for (const auto& [pid, watched] : processes_) {
    if (watched.next_look <= now) {
      due.push_back(pid);
    }
  }
  for (const pid_t pid : due) {
    LookAt(pid, now);
  }
  SetTimer(now);
}

void Heartbeat::LookAt(pid_t pid, Vigil::Time now) {
  const auto process = processes_.find(pid);
  if (process == processes_.end()) {
    return;  // given up with one before it
  }
  Watched& watched = process->second;
  Vigil::Sight sight;
  if (!watched.vigil.HasHeard()) {
    sight = {senses_.pulse(pid), senses_.agent_holds_answer(pid)};
  }
  watched.next_look = now + rules_.interval;
  switch (watched.vigil.Look(now, sight)) {
    case Vigil::Verdict::kAlive:
      return;
    case Vigil::Verdict::kSilent:
      return senses_.ping(pid);
    case Vigil::Verdict::kGivenUp:
      break;
  }
  const std::string why = watched.vigil.Why(now);
  // A call may release other owners.
  for (const auto& [owner, give_up] : std::map(watched.owners)) {
    if (awaited_.contains(owner)) {
      Release(owner);
      give_up(why);
    }
  }
  senses_.lose(pid, why);
}

void Heartbeat::SetTimer(Vigil::Time now) {
  const auto next = std::min_element(
      processes_.begin(), processes_.end(),
      [](const auto& a, const auto& b) { return a.second.next_look < b.second.next_look; });
  if (next != processes_.end()) {
    timer_.Set(std::max(next->second.next_look - now, Vigil::Time(0)));
  }
}

}  // namespace agentd
