// From the CFM manager's notification to the agent's operational datastore.
// The manager is played here, so that each status is sent at a known moment
// and no other comes in between.
#include <algorithm>
#include <set>
#include <stdexcept>

#include "await.h"
#include "core_binding.h"
#include "element.h"
#include "figures.h"
#include "record_watch.h"
#include "requests.h"
#include "scripted_manager.h"

namespace bench {
namespace {

using cfm::manager::FromManager;

FromManager LocalStatus(const cfm::RecordName& name) {
  cfm::st_lmep_status status{};
  status.mac = {{2, 0, 0, 0, 0, static_cast<std::uint8_t>(name.mep)}};
  status.tx_interface_status = cfm::InterfaceStatus::kIsUp;
  status.tx_port_status = cfm::PortStatus::kUp;
  FromManager message;
  Encode(cfm::Named<cfm::st_lmep_status>{name, status}, *message.mutable_local_status());
  return message;
}

// The sender id is what the watch recognises an update by; the daemon writes
// it last.
FromManager RemoteStatus(const cfm::RecordName& name, const std::string& sender_id) {
  cfm::st_rmep_status status{};
  status.state = cfm::RMEP_OK;
  status.mac = {{2, 0, 0, 0, 1, static_cast<std::uint8_t>(name.remote)}};
  status.rx_port_status = cfm::PortStatus::kUp;
  status.rx_interface_status = cfm::InterfaceStatus::kIsUp;
  status.sender_id = sender_id;
  FromManager message;
  Encode(cfm::Named<cfm::st_rmep_status>{name, status}, *message.mutable_remote_status());
  return message;
}

// Agent and daemon, and this process as the manager.
class StatusElement {
 public:
  explicit StatusElement(const Layout& layout)
      : names_(layout.RecordNames()),
        manager_(loop_.Get(), element_.RuntimeDirectory() / "cfm-managerd.sock") {
    std::copy_if(names_.begin(), names_.end(), std::back_inserter(remotes_),
                 [](const cfm::RecordName& name) { return name.remote != 0; });
    if (!element_.StartAgent().AwaitReady()) {
      throw std::runtime_error("agentd did not become ready: " + element_.Agent().Log());
    }
    AgentLine(loop_, element_.RuntimeDirectory()).Call(CommitDocument(layout.Document()));
    manager_.on_message = [this](const cfm::manager::FromClient& message) { Serve(message); };
    watch_.emplace(loop_, element_.RuntimeDirectory());
    element_.StartDaemon();
    AwaitAll();
  }

  // Every record is published.
  void AwaitAll() { watch_->AwaitCount(static_cast<int>(names_.size())); }
  const std::vector<cfm::RecordName>& Remotes() const { return remotes_; }
  std::vector<pid_t> Daemons() { return {element_.Agent().Pid(), element_.Daemon().Pid()}; }

  // Sends a status of each of the first `count` remote MEPs and waits until
  // all of them are published. Seconds from the first.
  double Update(std::size_t first, std::size_t count) {
    const std::string mark = "update " + std::to_string(++updates_);
    std::set<std::string> seen;
    Clock::time_point last;
    watch_->SetOnChange([&](const cfm::agent::OperationalChange& change) {
      if (change.has_entry() && LeafText(change.entry(), "rx-sender-id") == mark) {
        seen.insert(change.path());
        last = Clock::now();
      }
    });
    const Clock::time_point start = Clock::now();
    for (std::size_t i = first; i < first + count; ++i) {
      manager_.Send(RemoteStatus(remotes_[i], mark));
    }
    Await(
        loop_, [&] { return seen.size() == count; }, "status updates to be published");
    watch_->SetOnChange([](const auto&) {});
    return SecondsBetween(start, last);
  }

  // Loses the daemon; seconds until no record is left. Then the daemon finds
  // the manager again, and all records come back.
  double Wipe() {
    const Clock::time_point start = Clock::now();
    manager_.CloseConnection();
    watch_->AwaitCount(0);
    const double seconds = SecondsSince(start);
    AwaitAll();
    return seconds;
  }

 private:
  // As a manager does: all status after the first configuration of a
  // connection, and whenever the daemon asks for it.
  void Serve(const cfm::manager::FromClient& message) {
    if (message.has_resend_status()) {
      FromManager starts;
      starts.mutable_resend_starts()->set_number(message.resend_status().number());
      manager_.Send(starts);
    }
    if (message.has_resend_status() || message.has_configuration()) {
      for (const cfm::RecordName& name : names_) {
        manager_.Send(name.remote == 0 ? LocalStatus(name) : RemoteStatus(name, "first"));
      }
    }
  }

  Loop loop_;
  test::Element element_;
  std::vector<cfm::RecordName> names_;
  std::vector<cfm::RecordName> remotes_;
  test::ScriptedManager manager_;
  std::optional<RecordWatch> watch_;
  int updates_ = 0;
};

}  // namespace

void MeasureStatus(const Layout& layout, const Repetitions& times, Report& report) {
  StatusElement element(layout);
  // A round trip costs many times as much between cores as on one: sizes can be
  // compared only where all is on one core.
  const CoreBinding one_core(element.Daemons());
  const std::size_t remotes = element.Remotes().size();
  // What was sent twice at the start is behind us with the last record's
  // update.
  element.Update(remotes - 1, 1);

  std::vector<double> seconds;
  for (int run = 0; run < times.status_updates; ++run) {
    seconds.push_back(element.Update(static_cast<std::size_t>(run) * 7 % remotes, 1));
  }
  report.AddTimes("status.update", layout.Records(), Unit::kMicroseconds, seconds);

  constexpr std::size_t kBurst = 1000;
  const std::size_t burst = std::min(kBurst, remotes);
  std::vector<double> rates;
  for (int run = 0; run < times.status_bursts; ++run) {
    rates.push_back(static_cast<double>(burst) / element.Update(0, burst));
  }
  report.Add("status.updates", layout.Records(), Unit::kPerSecond, rates);

  std::vector<double> wipes;
  for (int run = 0; run < times.wipes; ++run) {
    wipes.push_back(element.Wipe());
  }
  report.AddTimes("status.wipe", layout.Records(), Unit::kMilliseconds, wipes);
}

}  // namespace bench
