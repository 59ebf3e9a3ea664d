#include "mep.h"

#include <algorithm>
#include <utility>

#include "ccm.h"

namespace cfm::engine {
namespace {

bool SameStatus(const st_lmep_status& left, const st_lmep_status& right) {
  return std::ranges::equal(left.mac.octets, right.mac.octets) && left.tx_rdi == right.tx_rdi &&
         left.tx_interface_status == right.tx_interface_status &&
         left.tx_port_status == right.tx_port_status && left.block_state == right.block_state &&
         std::ranges::equal(left.defects, right.defects);
}

}  // namespace

Mep::Mep(Surroundings& around, MepName name, MepSettings settings)
    : around_(around),
      name_(std::move(name)),
      remotes_(around, name_, [this] { Settle(); }),
      initiator_(around.timers, around.now, around.meps_made++,
                 [this](std::uint32_t number) { Send(number); }),
      error_(around.timers, [this] { Settle(); }),
      cross_connect_(around.timers, [this] { Settle(); }),
      notifier_(around.timers, [this] { Settle(); }) {
  Reconfigure(std::move(settings));
}

void Mep::RemoveAll() {
  remotes_.KeepOnly({});
  Stop();
  Announce();
  around_.effects.push_back(LocalRemoved{name_});
}

void Mep::Reconfigure(MepSettings settings) {
  if (running_ && settings.line != settings_.line) {
    Stop();
  }
  settings_ = std::move(settings);
  remotes_.Add(settings_.members->remote);
  PortChanged();
}

void Mep::PortChanged() {
  if (running_ && !ShouldRun()) {
    Stop();
  } else if (!running_ && ShouldRun()) {
    Start();
  }
  Settle();
  remotes_.ReportChanged();
}

bool Mep::ShouldRun() const {
  return settings_.usable && settings_.enabled &&
         around_.ports.Find(settings_.line.port) != nullptr;
}

void Mep::Start() {
  running_ = true;
  const Nanoseconds interval = IntervalTime(settings_.line.interval);
  remotes_.Start(interval);
  initiator_.Start(interval);
}

void Mep::Stop() {
  running_ = false;
  initiator_.Stop();
  remotes_.Stop();
  error_.Clear();
  cross_connect_.Clear();
  notifier_.Reset();
  SetBlocking(false);
}

void Mep::Send(std::uint32_t sequence_number) {
  const Line& line = settings_.line;
  const PortFacts& port = *around_.ports.Find(line.port);
  const Ccm ccm{.level = line.level,
                .rdi = PresentsRdi(),
                .interval = line.interval,
                .sequence_number = sequence_number,
                .mep_id = name_.id,
                .maid = line.maid,
                .port_status = port.port_status,
                .interface_status = port.interface_status,
                .sender_id = around_.sender_id};
  Bytes frame = EncodeCcm(ccm, port.mac, line.primary_vlan);
  ++statistics_.counter1;
  if (line.up) {
    around_.offer_to_relay(line.port, frame);
    around_.effects.push_back(TransmitIntoRelay{line.port, std::move(frame)});
  } else {
    around_.effects.push_back(Transmit{line.port, std::move(frame)});
  }
}

void Mep::Receive(const CfmFrame& frame) {
  if (!running_) {
    return;
  }
  const auto decoded = DecodeCcm(frame);
  const Ccm* ccm = std::get_if<Ccm>(&decoded);
  if (ccm == nullptr) {
    ++statistics_.counter4;
    return;
  }
  ++statistics_.counter2;
  if (IsCrossConnected(*ccm)) {
    cross_connect_.Raise(around_.now.monotonic, IntervalTime(ccm->interval));
  } else if (IsError(*ccm)) {
    error_.Raise(around_.now.monotonic, IntervalTime(ccm->interval));
  } else if (remotes_.Hear(*ccm, frame.source)) {
    ++statistics_.counter3;
  }
  Settle();
}

bool Mep::IsCrossConnected(const Ccm& ccm) const {
  return ccm.level < settings_.line.level || ccm.maid != settings_.line.maid;
}

bool Mep::IsError(const Ccm& ccm) const {
  return ccm.mep_id == name_.id || !settings_.members->all.contains(ccm.mep_id) ||
         ccm.interval != settings_.line.interval;
}

void Mep::Settle() {
  if (running_) {
    remotes_.Judge(defects_);
    Flag(defects_, Defect::kErrorCcm) = error_.Present();
    Flag(defects_, Defect::kXconCcm) = cross_connect_.Present();
    notifier_.Update(HighestEnabled(defects_, settings_.lowest_defect), settings_.fault_times,
                     around_.now.monotonic);
  } else {
    defects_ = {};
  }
  Announce();
  SetBlocking(settings_.fault_action == FaultAction::kBlock && announced_ != Defect::kNone);
  ReportIfChanged();
}

void Mep::Announce() {
  if (notifier_.Reported() != announced_) {
    announced_ = notifier_.Reported();
    around_.effects.push_back(FaultAlarm{name_, announced_});
  }
}

void Mep::SetBlocking(bool blocking) {
  if (blocking && !blocking_) {
    around_.ports.Block(settings_.line.port);
  } else if (!blocking && blocking_) {
    around_.ports.Unblock(settings_.line.port);
  }
  blocking_ = blocking;
}

bool Mep::PresentsRdi() const {
  return PresentRdi(HighestEnabled(defects_, settings_.lowest_defect));
}

st_lmep_status Mep::Status() const {
  st_lmep_status status{};
  if (const PortFacts* port = around_.ports.Find(settings_.line.port)) {
    status.mac = port->mac;
    status.tx_interface_status = port->interface_status;
    status.tx_port_status = port->port_status;
  }
  status.tx_rdi = PresentsRdi();
  if (settings_.fault_action == FaultAction::kBlock) {
    status.block_state = blocking_ ? BlockState::kBlocked : BlockState::kForwarding;
  }
  std::ranges::copy(defects_, status.defects);
  return status;
}

void Mep::ReportIfChanged() {
  const st_lmep_status status = Status();
  if (!reported_ || !SameStatus(*reported_, status)) {
    reported_ = status;
    around_.effects.push_back(LocalStatus{name_, status});
  }
}

void Mep::ReportAll() const {
  around_.effects.push_back(LocalStatus{name_, Status()});
  remotes_.ReportAll();
}

void Mep::ClearStatistics() {
  statistics_ = {};
  remotes_.ClearStatistics();
}

}  // namespace cfm::engine
