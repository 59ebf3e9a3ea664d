#include "remote_meps.h"

#include <utility>

namespace cfm::engine {

RemoteMeps::RemoteMeps(Surroundings& around, const MepName& local, std::function<void()> on_loss)
    : around_(around), local_(local), on_loss_(std::move(on_loss)) {}

template <typename Change>
auto RemoteMeps::Update(Remote& remote, Change change) {
  struct Counted {
    RemoteTally& tally;
    Remote& remote;
    Counted(RemoteTally& the_tally, Remote& the_remote) : tally(the_tally), remote(the_remote) {
      tally.Remove(remote.machine.Signs());
    }
    ~Counted() { tally.Add(remote.machine.Signs()); }
  };
  const Counted counted(tally_, remote);
  return change(remote.machine);
}

void RemoteMeps::KeepOnly(const std::set<std::uint16_t>& ids) {
  for (auto next = remotes_.begin(); next != remotes_.end();) {
    const auto remote = next++;
    if (!ids.contains(remote->first)) {
      around_.effects.push_back(RemoteRemoved{local_, remote->first});
      tally_.Remove(remote->second.machine.Signs());
      remotes_.erase(remote);
    }
  }
}

void RemoteMeps::Add(const std::set<std::uint16_t>& ids) {
  for (const std::uint16_t id : ids) {
    if (!remotes_.contains(id)) {
      Insert(id);
    }
  }
}

void RemoteMeps::Insert(std::uint16_t id) {
  Remote& remote =
      remotes_.try_emplace(id, around_.timers, around_.now, [this, id] { Lose(id); }).first->second;
  tally_.Add(remote.machine.Signs());
  if (interval_) {
    Update(remote, [this](RemoteMep& machine) { machine.Start(around_.now, *interval_); });
  }
}

void RemoteMeps::Start(Nanoseconds interval) {
  interval_ = interval;
  for (auto& [id, remote] : remotes_) {
    Update(remote, [&](RemoteMep& machine) { machine.Start(around_.now, interval); });
  }
}

void RemoteMeps::Stop() {
  interval_.reset();
  for (auto& [id, remote] : remotes_) {
    Update(remote, [&](RemoteMep& machine) { machine.Stop(around_.now); });
  }
}

bool RemoteMeps::Hear(const Ccm& ccm, const st_mac& source) {
  const auto found = remotes_.find(ccm.mep_id);
  if (found == remotes_.end() || !interval_) {
    return false;
  }
  const bool surprise = Update(found->second, [&](RemoteMep& machine) {
    return machine.Hear(ccm, source, around_.now, *interval_);
  });
  ReportIfChanged(found->first, found->second);
  return surprise;
}

void RemoteMeps::Lose(std::uint16_t id) {
  Remote& remote = remotes_.at(id);
  Update(remote, [&](RemoteMep& machine) { machine.Lose(around_.now); });
  ReportIfChanged(id, remote);
  on_loss_();
}

void RemoteMeps::ClearStatistics() {
  for (auto& [id, remote] : remotes_) {
    remote.machine.statistics = {};
  }
}

void RemoteMeps::ClearStatistics(std::uint16_t id) {
  if (const auto found = remotes_.find(id); found != remotes_.end()) {
    found->second.machine.statistics = {};
  }
}

void RemoteMeps::ReportChanged() {
  for (auto& [id, remote] : remotes_) {
    ReportIfChanged(id, remote);
  }
}

void RemoteMeps::ReportAll() const {
  for (const auto& [id, remote] : remotes_) {
    Report(id, remote.machine.Status());
  }
}

void RemoteMeps::Report(std::uint16_t id) const {
  if (const auto found = remotes_.find(id); found != remotes_.end()) {
    Report(id, found->second.machine.Status());
  }
}

void RemoteMeps::ReportIfChanged(std::uint16_t id, Remote& remote) {
  const st_rmep_status& status = remote.machine.Status();
  if (!remote.reported || !SameStatus(*remote.reported, status)) {
    remote.reported = status;
    Report(id, status);
  }
}

void RemoteMeps::Report(std::uint16_t id, const st_rmep_status& status) const {
  around_.effects.push_back(RemoteStatus{local_, id, status});
}

}  // namespace cfm::engine
