// Watches the programs that something is awaited from, each as long as that
// lasts, and no longer: without them it never wakes the loop.
#ifndef AGENT_HEARTBEAT_H
#define AGENT_HEARTBEAT_H

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>

#include "timer.h"
#include "vigil.h"

namespace agentd {

class Heartbeat {
 public:
  // Stands for what is awaited.
  using Owner = const void*;
  // Called from the loop, and the owner has been released by then; `why`
  // completes a sentence that begins with the program. May call anything here.
  using GiveUp = std::function<void(const std::string& why)>;

  struct Senses {
    std::function<std::optional<Pulse>(pid_t)> pulse;
    // Whether the program waits for an answer that the agent holds back.
    std::function<bool(pid_t)> agent_holds_answer;
    // Asks it for a sign of life where that is possible.
    std::function<void(pid_t)> ping;
    // It is given up, and those that awaited something have heard of it. May
    // call anything here.
    std::function<void(pid_t, const std::string& why)> lose;
  };

  Heartbeat(sd_event* loop, const HeartbeatRules& rules, Senses senses);

  // Something is awaited of the process; one at a time for an owner. Of a
  // process that is not known (0) nothing can be told: it is not watched.
  void Await(Owner owner, pid_t pid, GiveUp give_up);
  // It has come, or does not matter any more.
  void Release(Owner owner);
  // The process has sent something.
  void Heard(pid_t pid);

 private:
  struct Watched {
    Vigil vigil;
    Vigil::Time next_look;
    std::map<Owner, GiveUp> owners{};
  };
  using Processes = std::map<pid_t, Watched>;

  void OnTime();
  void LookAt(pid_t pid, Vigil::Time now);
  void SetTimer(Vigil::Time now);

  HeartbeatRules rules_;
  Senses senses_;
  Timer timer_;
  std::map<Owner, pid_t> awaited_;
  Processes processes_;
};

}  // namespace agentd

#endif
