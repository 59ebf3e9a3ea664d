// The framework's sources in the middleware loop: sockets at the agent's
// priority, timers at the normal one.
#ifndef VELCONFD_LOOP_SOURCE_H
#define VELCONFD_LOOP_SOURCE_H

#include <event_source.h>
#include <systemd/sd-event.h>

#include <cstdint>

namespace velconfd {

// Calls when `fd` is readable or hangs up. Both throw std::system_error.
ipc::EventSource WatchSocket(sd_event* loop, int fd, sd_event_io_handler_t handler, void* userdata);
// Calls once, `usec` microseconds from now.
ipc::EventSource CallLater(sd_event* loop, std::uint64_t usec, sd_event_time_handler_t handler,
                           void* userdata);

}  // namespace velconfd

#endif
