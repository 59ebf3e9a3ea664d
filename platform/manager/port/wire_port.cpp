#include "wire_port.h"

#include <fmt/format.h>

#include <ctime>
#include <system_error>
#include <utility>

namespace cfm {
namespace {

// Only while something is in the way that no event tells the end of.
constexpr std::uint64_t kRetryUsec = 1'000'000;

}  // namespace

WirePort::WirePort(sd_event* loop, Place place, const LogCategory& log, Handlers handlers)
    : loop_(loop),
      place_(std::move(place)),
      log_(log),
      handlers_(std::move(handlers)),
      meeting_place_(loop, place_.path,
                     {.on_visitor = [this](ipc::UniqueFd socket) { Take(std::move(socket)); },
                      .on_change = [this] { Seek(); }}) {
  Seek();
}

std::optional<engine::PortFacts> WirePort::Facts() const {
  return engine::PortFacts{
      .mac = place_.mac,
      .interface_status = is_up_ ? InterfaceStatus::kIsUp : InterfaceStatus::kIsDown,
      .port_status = PortStatus::kUp};
}

void WirePort::Send(engine::ByteView frame) {
  if (end_) {
    end_->Send(frame);
  }
}

void WirePort::Seek() {
  try {
    if (!meeting_place_.Watch()) {
      ReportTrouble("the directory cannot be watched: create it");
      SeekLater();
      return;
    }
    if (meeting_place_.IsCut()) {
      ReportTrouble("cut");
      meeting_place_.Leave();
      Part();
      return;
    }
    if (end_ || meeting_place_.Listens()) {
      return;
    }
    meeting_place_.Leave();
    if (auto socket = meeting_place_.Connect()) {
      Take(std::move(*socket));
    } else {
      meeting_place_.Listen();
    }
  } catch (const std::system_error& error) {
    ReportTrouble(error.what());
    SeekLater();
  }
}

void WirePort::SeekLater() {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(
      sd_event_add_time_relative(loop_, &source, CLOCK_MONOTONIC, kRetryUsec, 0, OnRetryTime, this),
      "set the timer of a wire");
  retry_.reset(source);
}

int WirePort::OnRetryTime(sd_event_source* source, std::uint64_t, void* self) noexcept {
  return ipc::DispatchGuarded(source, "wire", [self] {
    auto* port = static_cast<WirePort*>(self);
    port->retry_.reset();
    port->Seek();
  });
}

// A wire has two ends: a third is sent away. One that has not greeted yet gives
// way, for it may never do.
void WirePort::Take(ipc::UniqueFd socket) {
  if (end_ && end_->IsGreeted()) {
    return;
  }
  end_ = std::make_unique<WireEnd>(
      loop_, std::move(socket),
      WireEnd::Handlers{.on_greeted = [this] { OnGreeted(); },
                        .on_frame = [this](engine::ByteView frame) { handlers_.on_frame(frame); },
                        .on_end = [this](const std::string& reason) { OnEnd(reason); }});
}

void WirePort::OnGreeted() {
  trouble_.clear();
  retry_.reset();
  is_up_ = true;
  log_.Info(fmt::format("port {} is up: wire {}", place_.name, place_.path.native()));
  handlers_.on_change();
}

void WirePort::OnEnd(const std::string& reason) {
  const bool was_up = is_up_;
  Part();
  ReportTrouble(reason);
  if (was_up) {
    Seek();
  } else {
    SeekLater();
  }
}

void WirePort::Part() {
  end_.reset();
  if (std::exchange(is_up_, false)) {
    handlers_.on_change();
  }
}

// Attempts repeat; what is wrong is worth a line only when it is news.
void WirePort::ReportTrouble(const std::string& text) {
  if (text != trouble_) {
    trouble_ = text;
    log_.Warning(
        fmt::format("port {} is down: wire {}: {}", place_.name, place_.path.native(), text));
  }
}

}  // namespace cfm
