// The Remote MEP state machine (IEEE 802.1Q clause 20.22): one remote MEP as
// one local MEP sees it, with a deadline of its own.
#ifndef CFM_ENGINE_REMOTE_MEP_H
#define CFM_ENGINE_REMOTE_MEP_H

#include <cstdint>
#include <functional>

#include "ccm.h"
#include "remote_tally.h"
#include "timer_queue.h"

namespace cfm::engine {

class RemoteMep {
 public:
  // Idle. `on_lost` is called when it was not heard for too long.
  RemoteMep(TimerQueue& queue, const Moment& now, std::function<void()> on_lost);

  // Waits for its first CCM.
  void Start(const Moment& now, Nanoseconds interval);
  void Stop(const Moment& now);
  // Returns whether CCMs were lost or reordered since the one before.
  bool Hear(const Ccm& ccm, const st_mac& source, const Moment& now, Nanoseconds interval);
  // The deadline passed.
  void Lose(const Moment& now);

  // What it last said stays visible while it is lost, but counts no more.
  const st_rmep_status& Status() const { return status_; }
  RemoteSigns Signs() const;

  st_rmep_stats statistics{};

 private:
  void Enter(en_rmep_state state, const Moment& now);
  void Listen(const Moment& now, Nanoseconds interval);

  Timer timer_;
  st_rmep_status status_{};
  std::uint32_t sequence_number_ = 0;  // of the last CCM; 0: none to compare with
};

bool SameStatus(const st_rmep_status& left, const st_rmep_status& right);

}  // namespace cfm::engine

#endif
