#include "provider.h"

#include <algorithm>

#include "calendar.h"
#include "fail_point.h"
#include "frame.h"
#include "log.h"
#include "while_set.h"

namespace agentd {

Provider::Provider(sd_event* loop, const ProviderRules& rules, std::uint64_t number, Peer& control,
                   std::uint64_t& last_id, Heartbeat::GiveUp on_hang)
    : loop_(loop),
      rules_(rules),
      number_(number),
      control_(&control),
      name_(control.Name()),
      pid_(control.Pid()),
      last_id_(last_id),
      on_hang_(std::move(on_hang)),
      timer_(loop, [this] { OnTime(); }) {}

Provider::~Provider() {
  rules_.locks.Release(this);
  rules_.heartbeat.Release(this);
}

std::string Provider::Describe() const {
  return "data provider " + name_ + " (process " + std::to_string(pid_) + ")";
}

void Provider::Registered() {
  since_ = CalendarNow();
}

std::uint32_t Provider::SilentSeconds() const {
  const auto oldest = std::find_if(requests_.begin(), requests_.end(), [](const auto& each) {
    return each.second.kind != Kind::kDelayed;
  });
  if (oldest == requests_.end()) {
    return 0;
  }
  const std::uint64_t asked =
      oldest->second.deadline - static_cast<std::uint64_t>(rules_.timeout.count());
  return static_cast<std::uint32_t>((Now() - asked) / 1'000'000);
}

void Provider::Disconnected(const Peer& peer) {
  alive_ = false;
  control_ = control_ == &peer ? nullptr : control_;
  worker_ = worker_ == &peer ? nullptr : worker_;
}

void Provider::Lose(const std::string& reason) {
  alive_ = false;
  timer_.Cancel();
  rules_.locks.Release(this);
  rules_.heartbeat.Release(this);
  // Each call may forget others, so nothing is kept across it.
  while (!requests_.empty()) {
    const std::uint64_t id = requests_.begin()->first;
    const Request request = Take(requests_.begin());
    if (request.asker != nullptr) {
      request.asker->OnMiss(id, Miss::kLost, reason);
    }
  }
  while (!waiting_.empty()) {
    Asker& asker = *waiting_.front().asker;
    waiting_.pop_front();
    asker.OnTurn(*this);
  }
  for (Peer** peer : {&worker_, &control_}) {
    if (Peer* connected = std::exchange(*peer, nullptr)) {
      connected->Drop(reason);
    }
  }
}

void Provider::Want(Asker& asker, const std::string& walk) {
  waiting_.push_back({&asker, walk});
  Pump();
}

bool Provider::BeginWalk(const Asker& asker, const std::string& callpoint) {
  return walks_.emplace(callpoint, &asker).first->second == &asker;
}

void Provider::EndWalks(const Asker& asker) {
  std::erase_if(walks_, [&](const auto& each) { return each.second == &asker; });
}

std::uint64_t Provider::Now() const {
  std::uint64_t now = 0;
  ipc::CheckEvent(sd_event_now(loop_, CLOCK_MONOTONIC, &now), "read the clock");
  return now;
}

std::uint64_t Provider::Send(Peer& peer, cfm::agent::ProviderRequest request, Request record) {
  CFM_FAIL_POINT(agent_asking);
  const std::uint64_t id = ++last_id_;
  request.set_id(id);
  cfm::agent::FromAgent message;
  *message.mutable_provider_request() = std::move(request);
  peer.Send(message);
  record.deadline = Now() + static_cast<std::uint64_t>(rules_.timeout.count());
  requests_.emplace(id, std::move(record));
  CFM_FAIL_POINT(agent_asked);
  Watch();
  WatchLife();
  return id;
}

std::uint64_t Provider::Begin(Asker& asker, std::uint32_t thandle) {
  cfm::agent::ProviderRequest request;
  request.mutable_trans_init()->set_thandle(thandle);
  CFM_FAIL_POINT(agent_transaction_beginning);
  return Send(*control_, std::move(request),
              {.asker = &asker, .kind = Kind::kControl, .thandle = thandle});
}

void Provider::End(std::uint32_t thandle) {
  ending_.insert(thandle);
  FinishTransaction(thandle);
}

// The two connections are read independently, so the end must not overtake a
// question.
void Provider::FinishTransaction(std::uint32_t thandle) {
  if (asked_.contains(thandle) || ending_.erase(thandle) == 0 || !alive_) {
    return;
  }
  cfm::agent::FromAgent message;
  auto& request = *message.mutable_provider_request();
  request.set_id(++last_id_);
  request.mutable_trans_finish()->set_thandle(thandle);
  CFM_FAIL_POINT(agent_transaction_ending);
  control_->Send(message);  // its reply says nothing
}

void Provider::EnterWindow(std::size_t requests) {
  if (in_window_ == 0) {
    rules_.locks.Take(this, "a read that waits for " + Describe());
  }
  in_window_ += requests;
}

std::uint64_t Provider::Ask(Asker& asker, std::uint32_t thandle, cfm::agent::ReadBatch batch,
                            const std::vector<EntryPtr>& subjects) {
  CFM_FAIL_POINT(agent_batch_asking);
  EnterWindow(subjects.size());
  asked_[thandle] += subjects.size();
  const std::uint64_t first = last_id_ + 1;
  const std::uint64_t deadline = Now() + static_cast<std::uint64_t>(rules_.timeout.count());
  for (auto& request : *batch.mutable_requests()) {
    request.set_id(++last_id_);
    requests_.emplace_hint(requests_.end(), last_id_,
                           Request{.asker = &asker,
                                   .thandle = thandle,
                                   .subject = subjects[last_id_ - first],
                                   .may_return = last_id_ > first,
                                   .deadline = deadline});
  }
  cfm::agent::FromAgent message;
  *message.mutable_read_batch() = std::move(batch);
  worker_->Send(message);
  CFM_FAIL_POINT(agent_batch_asked);
  Watch();
  WatchLife();
  return first;
}

std::uint64_t Provider::Perform(Asker& asker, cfm::agent::PerformAction action) {
  EnterWindow(1);
  cfm::agent::ProviderRequest request;
  *request.mutable_action() = std::move(action);
  return Send(*worker_, std::move(request), {.asker = &asker});
}

void Provider::LeaveWindow(const Request& request) {
  if (request.kind != Kind::kWorker) {
    return;
  }
  if (--in_window_ == 0) {
    rules_.locks.Release(this);
  }
  const auto asked = asked_.find(request.thandle);
  if (asked != asked_.end() && --asked->second == 0) {
    asked_.erase(asked);
    FinishTransaction(request.thandle);
  }
}

Provider::Request Provider::Take(Requests::iterator found) {
  Request request = std::move(found->second);
  requests_.erase(found);
  WatchLife();
  LeaveWindow(request);
  return request;
}

void Provider::Forget(const Asker& asker) {
  EndWalks(asker);
  std::erase_if(waiting_, [&](const Waiting& each) { return each.asker == &asker; });
  std::erase_if(requests_, [&](const auto& each) {
    return each.second.asker == &asker && each.second.kind == Kind::kDelayed;
  });
  // The provider is still at work on the others: they keep their place.
  for (auto& [id, request] : requests_) {
    if (request.asker == &asker) {
      request.asker = nullptr;
    }
  }
  WatchLife();
  Pump();
}

void Provider::Delayed(const cfm::agent::ProviderReply& reply, Request& request) {
  LeaveWindow(request);
  request.kind = Kind::kDelayed;
  if (Asker* asker = request.asker) {
    asker->OnDelayed(reply.id(), reply);
  } else {
    requests_.erase(reply.id());
    WatchLife();
  }
}

void Provider::OnReply(const cfm::agent::ProviderReply& reply) {
  if (reply.id() == 0 || reply.id() > last_id_) {
    throw ipc::ProtocolError("a reply to a request that was not made");
  }
  const auto found = requests_.find(reply.id());
  if (found == requests_.end()) {
    return;  // withdrawn or given up
  }
  CFM_FAIL_POINT(agent_answer_received);
  if (found->second.kind == Kind::kDelayed) {
    CFM_FAIL_POINT(agent_late_answer_received);
  }
  if (reply.result() == cfm::agent::ProviderReply::DELAYED) {
    if (found->second.kind != Kind::kWorker) {
      throw ipc::ProtocolError("a delay of what cannot be delayed");
    }
    CFM_FAIL_POINT(agent_delay_received);
    Delayed(reply, found->second);
  } else if (reply.result() == cfm::agent::ProviderReply::UNASKED) {
    if (found->second.kind != Kind::kWorker || !found->second.may_return) {
      throw ipc::ProtocolError("a request that comes back though it had to be worked");
    }
    CFM_FAIL_POINT(agent_question_returned);
    if (Asker* asker = Take(found).asker) {
      asker->OnUnasked(reply.id());
    }
  } else if (Asker* asker = Take(found).asker) {
    asker->OnAnswer(reply.id(), reply);
  }
  Pump();
}

void Provider::MissDelayed(const std::string& why) {
  const auto is_delayed = [](const auto& each) { return each.second.kind == Kind::kDelayed; };
  // Each call may end others.
  for (auto found = requests_.begin();
       (found = std::find_if(requests_.begin(), requests_.end(), is_delayed)) != requests_.end();) {
    const std::uint64_t id = found->first;
    Take(found).asker->OnMiss(id, Miss::kTimeout, why);
  }
  Pump();
}

bool Provider::IsAsked() const {
  return !waiting_.empty() || std::any_of(requests_.begin(), requests_.end(), [](const auto& each) {
    return each.second.kind != Kind::kDelayed;
  });
}

bool Provider::MayTurn(const Waiting& waiting) const {
  const auto held = walks_.find(waiting.walk);
  return held == walks_.end() || held->second == waiting.asker;
}

void Provider::Pump() {
  if (pumping_) {
    return;
  }
  const WhileSet pumping(pumping_);
  while (alive_ && worker_ != nullptr && in_window_ == 0 && !rules_.on_hold()) {
    const auto next = std::find_if(waiting_.begin(), waiting_.end(),
                                   [this](const Waiting& each) { return MayTurn(each); });
    if (next == waiting_.end()) {
      break;
    }
    Asker& asker = *next->asker;
    waiting_.erase(next);
    asker.OnTurn(*this);
  }
}

void Provider::EntryGone(const EntryPtr& entry, std::vector<std::uint64_t>& withdrawn) {
  std::vector<std::uint64_t> ids;
  for (const auto& [id, request] : requests_) {
    if (request.subject == entry) {
      ids.push_back(id);
    }
  }
  for (const std::uint64_t id : ids) {
    const auto found = requests_.find(id);
    if (found == requests_.end()) {
      continue;  // the call for another one ended its asker
    }
    const Request request = Take(found);
    if (request.kind == Kind::kWorker) {
      CFM_FAIL_POINT(agent_request_withdrawn);
      withdrawn.push_back(id);
    }
    if (request.asker != nullptr) {
      request.asker->OnMiss(id, Miss::kEntryGone, "the entry is gone");
    }
  }
  Pump();
}

// As long as anything is asked, delayed replies too: a provider that waits for
// others answers pings.
void Provider::WatchLife() {
  const bool awaits = alive_ && !requests_.empty();
  if (awaits == watching_life_) {
    return;
  }
  watching_life_ = awaits;
  if (awaits) {
    rules_.heartbeat.Await(this, pid_, on_hang_);
  } else {
    rules_.heartbeat.Release(this);
  }
}

void Provider::Ping() {
  if (!alive_) {
    return;
  }
  cfm::agent::FromAgent message;
  message.mutable_provider_request()->set_id(++last_id_);
  message.mutable_provider_request()->mutable_ping();
  control_->Send(message);  // that there is a reply says all
}

// One timer for the oldest request: all have the same time.
void Provider::Watch() {
  if (!watching_ && !requests_.empty()) {
    watching_ = true;
    const std::uint64_t now = Now();
    const std::uint64_t deadline = requests_.begin()->second.deadline;
    timer_.Set(std::chrono::microseconds(deadline > now ? deadline - now : 0));
  }
}

void Provider::OnTime() {
  watching_ = false;
  const std::uint64_t now = Now();
  while (!requests_.empty() && requests_.begin()->second.deadline <= now) {
    if (requests_.begin()->second.kind != Kind::kDelayed) {
      on_hang_("did not answer in time");
      return;
    }
    const std::uint64_t id = requests_.begin()->first;
    Asker* asker = Take(requests_.begin()).asker;
    CFM_FAIL_POINT(agent_late_answer_given_up);
    asker->OnMiss(id, Miss::kTimeout, Describe() + " did not answer in time");
  }
  Pump();
  Watch();
}

}  // namespace agentd
