// One local MEP (IEEE 802.1Q clauses 20.11 to 20.37): it sends CCMs, hears
// those of others, and draws its conclusions.
//
// It runs while it is enabled, its settings are usable and its port exists.
// Otherwise it neither sends nor listens, and its remote MEPs are idle.
#ifndef CFM_ENGINE_MEP_H
#define CFM_ENGINE_MEP_H

#include <cstdint>
#include <optional>

#include "cfm_frame.h"
#include "defect_hold.h"
#include "initiator.h"
#include "mep_settings.h"
#include "remote_meps.h"
#include "surroundings.h"

namespace cfm::engine {

class Mep {
 public:
  // Reports itself and its remote MEPs.
  Mep(Surroundings& around, MepName name, MepSettings settings);

  Mep(const Mep&) = delete;
  Mep& operator=(const Mep&) = delete;

  const MepName& Name() const { return name_; }
  const MepSettings& Settings() const { return settings_; }

  // A new configuration comes in two steps, for every MEP the first before for
  // any the second, so that an id can change hands. First what goes away.
  void RemoveRemotesBut(const std::set<std::uint16_t>& ids) { remotes_.KeepOnly(ids); }
  void RemoveAll();  // the MEP itself is not used after this
  void Reconfigure(MepSettings settings);

  void PortChanged();
  // A CCM of the MEP's level or a lower one.
  void Receive(const CfmFrame& frame);

  void ReportAll() const;
  void ReportRemote(std::uint16_t id) const { remotes_.Report(id); }

  const st_lmep_stats& Statistics() const { return statistics_; }
  const RemoteMeps& Remotes() const { return remotes_; }
  // Its own and those of its remote MEPs.
  void ClearStatistics();
  void ClearRemoteStatistics(std::uint16_t id) { remotes_.ClearStatistics(id); }

 private:
  bool ShouldRun() const;
  void Start();
  void Stop();
  void Send(std::uint32_t sequence_number);
  bool IsCrossConnected(const Ccm& ccm) const;
  bool IsError(const Ccm& ccm) const;
  // Draws the conclusions of whatever happened.
  void Settle();
  void Announce();
  void SetBlocking(bool blocking);
  bool PresentsRdi() const;
  st_lmep_status Status() const;
  void ReportIfChanged();

  Surroundings& around_;
  MepName name_;
  MepSettings settings_;
  st_lmep_stats statistics_{};
  RemoteMeps remotes_;
  Initiator initiator_;
  DefectHold error_;
  DefectHold cross_connect_;
  FaultNotifier notifier_;
  DefectFlags defects_{};
  Defect announced_ = Defect::kNone;
  bool running_ = false;
  bool blocking_ = false;
  std::optional<st_lmep_status> reported_;
};

}  // namespace cfm::engine

#endif
