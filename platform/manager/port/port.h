// A port of the element: frames in and out, and what is known of it.
#ifndef CFM_MANAGER_PORT_H
#define CFM_MANAGER_PORT_H

#include <functional>
#include <optional>

#include "bytes.h"
#include "port_table.h"

namespace cfm {

class Port {
 public:
  // Called from the loop, never from inside an operation of the port. They do
  // not destroy the port.
  struct Handlers {
    // A frame from outside, valid during the call. Any bytes.
    std::function<void(engine::ByteView frame)> on_frame;
    // Facts has changed.
    std::function<void()> on_change;
  };

  // Frames are read before timers run: what is here already is not late.
  static constexpr int kPriority = -10;
  // Longest frame that is taken in.
  static constexpr std::size_t kMaxFrameBytes = 10'000;

  Port() = default;
  virtual ~Port() = default;

  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  // Empty while there is no such port in the element.
  virtual std::optional<engine::PortFacts> Facts() const = 0;
  // Never blocks. A frame that cannot leave now is lost.
  virtual void Send(engine::ByteView frame) = 0;
};

}  // namespace cfm

#endif
