#include "remote_mep.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace cfm::engine {

RemoteMep::RemoteMep(TimerQueue& queue, const Moment& now, std::function<void()> on_lost)
    : timer_(queue, std::move(on_lost)) {
  status_.last_state_change = now.uptime;
}

void RemoteMep::Start(const Moment& now, Nanoseconds interval) {
  Enter(RMEP_START, now);
  Listen(now, interval);
}

void RemoteMep::Stop(const Moment& now) {
  timer_.Stop();
  Enter(RMEP_IDLE, now);
  const auto last_state_change = status_.last_state_change;
  status_ = {};
  status_.last_state_change = last_state_change;
  sequence_number_ = 0;
}

bool RemoteMep::Hear(const Ccm& ccm, const st_mac& source, const Moment& now,
                     Nanoseconds interval) {
  Enter(RMEP_OK, now);
  Listen(now, interval);
  status_.mac = source;
  status_.rx_rdi = ccm.rdi;
  status_.rx_port_status = ccm.port_status;
  status_.rx_interface_status = ccm.interface_status;
  status_.sender_id = ccm.sender_id;
  ++statistics.rmep_counter;
  // Zero is the number of those that do not count.
  const std::uint32_t previous = std::exchange(sequence_number_, ccm.sequence_number);
  return previous != 0 && ccm.sequence_number != 0 && ccm.sequence_number != previous + 1;
}

void RemoteMep::Lose(const Moment& now) {
  Enter(RMEP_FAILED, now);
}

RemoteSigns RemoteMep::Signs() const {
  const bool heard = status_.state == RMEP_OK;
  return {
      .lost = status_.state == RMEP_FAILED,
      .rdi = heard && status_.rx_rdi,
      .interface_down = heard && status_.rx_interface_status != InterfaceStatus::kNoTlv &&
                        status_.rx_interface_status != InterfaceStatus::kIsUp,
      .port_down = heard && status_.rx_port_status == PortStatus::kBlocked,
  };
}

void RemoteMep::Enter(en_rmep_state state, const Moment& now) {
  if (status_.state != state) {
    status_.state = state;
    status_.last_state_change = now.uptime;
  }
}

// The standard counts in quarters of an interval or finer, so its 3.5 end
// between 3.25 and 3.5. The middle leaves room for lateness and for haste.
void RemoteMep::Listen(const Moment& now, Nanoseconds interval) {
  timer_.Start(now.monotonic + interval * 27 / 8);
}

bool SameStatus(const st_rmep_status& left, const st_rmep_status& right) {
  const auto fields = [](const st_rmep_status& status) {
    return std::tie(status.state, status.last_state_change, status.rx_rdi, status.rx_port_status,
                    status.rx_interface_status, status.sender_id);
  };
  return fields(left) == fields(right) && std::ranges::equal(left.mac.octets, right.mac.octets);
}

}  // namespace cfm::engine
