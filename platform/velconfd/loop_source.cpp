#include "loop_source.h"

#include <sys/epoll.h>
#include <velmidware_loop.h>

#include <ctime>

namespace velconfd {
namespace {

ipc::EventSource AtAgentPriority(sd_event_source* source) {
  ipc::EventSource owned(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, velmw::kAgentPriority),
                  "set the priority of the agent in the loop");
  return owned;
}

}  // namespace

ipc::EventSource WatchSocket(sd_event* loop, int fd, sd_event_io_handler_t handler,
                             void* userdata) {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_io(loop, &source, fd, EPOLLIN | EPOLLRDHUP, handler, userdata),
                  "watch a socket of the agent");
  return AtAgentPriority(source);
}

ipc::EventSource CallLater(sd_event* loop, std::uint64_t usec, sd_event_time_handler_t handler,
                           void* userdata) {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_time(loop, &source, CLOCK_MONOTONIC, ipc::UsecFromNow(usec), 0,
                                    handler, userdata),
                  "set a timer for the agent");
  // At the normal priority: whoever wants the process to end is heard between
  // two attempts that block.
  return ipc::EventSource(source);
}

}  // namespace velconfd
