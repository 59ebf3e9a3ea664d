// The remote MEPs of one local MEP: their machines, what they come to, and the
// reports about them.
#ifndef CFM_ENGINE_REMOTE_MEPS_H
#define CFM_ENGINE_REMOTE_MEPS_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "mep_name.h"
#include "remote_mep.h"
#include "surroundings.h"

namespace cfm::engine {

class RemoteMeps {
 public:
  // `local` is borrowed. `on_loss` is called after one was lost, and reported.
  RemoteMeps(Surroundings& around, const MepName& local, std::function<void()> on_loss);

  RemoteMeps(const RemoteMeps&) = delete;
  RemoteMeps& operator=(const RemoteMeps&) = delete;

  // Removes, and reports the removal of, all but these.
  void KeepOnly(const std::set<std::uint16_t>& ids);
  // Adds those that are missing.
  void Add(const std::set<std::uint16_t>& ids);

  // Neither reports.
  void Start(Nanoseconds interval);
  void Stop();

  // A good CCM. Reports what it changed; returns whether its sequence number
  // is a surprise. One that is not watched is passed over.
  bool Hear(const Ccm& ccm, const st_mac& source);

  void Judge(DefectFlags& flags) const { tally_.Judge(flags); }
  void ReportChanged();
  void ReportAll() const;
  // Does nothing when there is none with that id.
  void Report(std::uint16_t id) const;

  void ClearStatistics();
  void ClearStatistics(std::uint16_t id);
  // In the order of their ids: call(id, const st_rmep_stats&).
  template <typename Call>
  void ForEachStatistics(Call call) const {
    for (const auto& [id, remote] : remotes_) {
      call(id, remote.machine.statistics);
    }
  }

 private:
  struct Remote {
    Remote(TimerQueue& queue, const Moment& now, std::function<void()> on_lost)
        : machine(queue, now, std::move(on_lost)) {}

    RemoteMep machine;
    std::optional<st_rmep_status> reported;
  };

  // Calls change(machine) and keeps the tally right.
  template <typename Change>
  auto Update(Remote& remote, Change change);
  void Insert(std::uint16_t id);
  void Lose(std::uint16_t id);
  void ReportIfChanged(std::uint16_t id, Remote& remote);
  void Report(std::uint16_t id, const st_rmep_status& status) const;

  Surroundings& around_;
  const MepName& local_;
  std::function<void()> on_loss_;
  std::map<std::uint16_t, Remote> remotes_;
  RemoteTally tally_;
  std::optional<Nanoseconds> interval_;  // empty: stopped
};

}  // namespace cfm::engine

#endif
