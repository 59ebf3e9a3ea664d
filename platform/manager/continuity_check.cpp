#include "continuity_check.h"

#include <fmt/format.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <ctime>
#include <utility>
#include <variant>

#include "node_name.h"

namespace cfm {
namespace {

// Well below the quarter of the shortest interval that a loss is seen within.
constexpr std::uint64_t kTimerAccuracyUsec = 1000;
// After the frames that are here already.
constexpr int kTimerPriority = Port::kPriority + 1;

// The uptime is that of the daemon, which shows the age of a state by it.
engine::Moment Now() {
  timespec monotonic{};
  clock_gettime(CLOCK_MONOTONIC, &monotonic);
  struct sysinfo system {};
  sysinfo(&system);
  return {.monotonic =
              std::chrono::seconds(monotonic.tv_sec) + std::chrono::nanoseconds(monotonic.tv_nsec),
          .uptime = static_cast<std::uint64_t>(system.uptime)};
}

std::string HostName() {
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  return name.data();
}

const char* TextOf(engine::Defect defect) {
  constexpr std::array kTexts{"none",       "RDI",       "MAC status",
                              "remote CCM", "error CCM", "cross-connect CCM"};
  return kTexts[static_cast<std::size_t>(defect)];
}

std::string TextOf(const engine::FaultAlarm& alarm) {
  const std::string mep = MepText(alarm.mep.md, alarm.mep.ma, alarm.mep.id);
  return alarm.defect == engine::Defect::kNone
             ? "fault over: " + mep
             : fmt::format("fault: {}: {}", mep, TextOf(alarm.defect));
}

std::string TextOf(const engine::PortBlock& block) {
  return fmt::format("port with logical id {}: data frames are to be {}", block.port,
                     block.blocked ? "blocked" : "forwarded");
}

}  // namespace

ContinuityCheck::ContinuityCheck(sd_event* loop, PortFactory& factory, Table table,
                                 const LogCategory& log)
    : table_(std::move(table)),
      log_(log),
      engine_(HostName()),
      ports_(factory, log,
             {.on_frame = [this](engine::PortId port,
                                 engine::ByteView frame) { OnFrame(port, frame); },
              .on_change = [this](engine::PortId port) { OnPortChange(port); }}) {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_time(loop, &source, CLOCK_MONOTONIC, UINT64_MAX, kTimerAccuracyUsec,
                                    OnDeadline, this),
                  "create the timer of the continuity check");
  timer_.reset(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, kTimerPriority), "set priority of a timer");
  ipc::CheckEvent(sd_event_source_set_enabled(source, SD_EVENT_OFF), "disarm a timer");
  FollowTable();
}

void ContinuityCheck::FollowTable() {
  if (const elem::InterfaceTable* table = table_()) {
    ports_.Follow(*table);
  }
}

std::vector<std::string> ContinuityCheck::Apply(const Hierarchy& hierarchy,
                                                const std::set<std::string>& touched) {
  FollowTable();
  std::vector<std::string> warnings = engine_.Apply(hierarchy, touched, Now());
  Settle();
  return warnings;
}

void ContinuityCheck::ReportAll() {
  engine_.ReportAll();
  Settle();
}

void ContinuityCheck::OnFrame(engine::PortId port, engine::ByteView frame) {
  engine_.Receive(port, frame, Now());
  Settle();
}

void ContinuityCheck::OnPortChange(engine::PortId port) {
  if (const auto facts = ports_.Facts(port)) {
    engine_.SetPort(port, *facts, Now());
  } else {
    engine_.RemovePort(port, Now());
  }
  Settle();
}

int ContinuityCheck::OnDeadline(sd_event_source* source, std::uint64_t, void* self) noexcept {
  return ipc::DispatchGuarded(source, "continuity check", [self] {
    auto* check = static_cast<ContinuityCheck*>(self);
    check->armed_.reset();
    check->engine_.Advance(Now());
    check->Settle();
  });
}

void ContinuityCheck::Settle() {
  for (const engine::Effect& effect : engine_.TakeEffects()) {
    CarryOut(effect);
    listener_(effect);
  }
  ArmTimer();
}

void ContinuityCheck::CarryOut(const engine::Effect& effect) {
  if (const auto* transmit = std::get_if<engine::Transmit>(&effect)) {
    ports_.Send(transmit->port, transmit->frame);
  } else if (const auto* relay = std::get_if<engine::TransmitIntoRelay>(&effect)) {
    ports_.SendToAllBut(relay->from, relay->frame);
  } else if (const auto* block = std::get_if<engine::PortBlock>(&effect)) {
    log_.Warning(TextOf(*block));
  } else if (const auto* alarm = std::get_if<engine::FaultAlarm>(&effect)) {
    log_.Warning(TextOf(*alarm));
  }
}

void ContinuityCheck::ArmTimer() {
  const std::optional<engine::Nanoseconds> deadline = engine_.NextDeadline();
  if (deadline == armed_) {
    return;
  }
  armed_ = deadline;
  if (!deadline) {
    ipc::CheckEvent(sd_event_source_set_enabled(timer_.get(), SD_EVENT_OFF), "disarm a timer");
    return;
  }
  // Not before it is due: the engine would find nothing to do.
  const auto usec = std::chrono::ceil<std::chrono::microseconds>(*deadline).count();
  ipc::CheckEvent(sd_event_source_set_time(timer_.get(), static_cast<std::uint64_t>(usec)),
                  "set a timer");
  ipc::CheckEvent(sd_event_source_set_enabled(timer_.get(), SD_EVENT_ONESHOT), "arm a timer");
}

}  // namespace cfm
