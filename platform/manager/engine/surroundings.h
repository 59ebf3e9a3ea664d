// What all MEPs of one engine work with.
#ifndef CFM_ENGINE_SURROUNDINGS_H
#define CFM_ENGINE_SURROUNDINGS_H

#include <functional>
#include <string>

#include "effect.h"
#include "port_table.h"
#include "timer_queue.h"

namespace cfm::engine {

struct Surroundings {
  Moment now;             // of the input that is being worked on
  std::string sender_id;  // chassis id that CCMs carry; may be empty
  TimerQueue timers;
  Effects effects;
  PortTable ports{effects};
  unsigned meps_made = 0;
  // Hands an up MEP's frame to the other up MEPs of the element.
  std::function<void(PortId from, ByteView frame)> offer_to_relay;
};

}  // namespace cfm::engine

#endif
