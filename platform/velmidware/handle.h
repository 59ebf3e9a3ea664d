// What a middleware handle stands for.
#ifndef VELMIDWARE_HANDLE_H
#define VELMIDWARE_HANDLE_H

#include <systemd/sd-event.h>

#include <memory>
#include <string>

#include "announcements.h"
#include "event_source.h"
#include "instance_lock.h"

namespace velmw {

struct UnrefLoop {
  void operator()(sd_event* loop) const { sd_event_unref(loop); }
};

}  // namespace velmw

struct velmw_handle {
  explicit velmw_handle(const std::string& name);

  ipc::InstanceLock lock;
  std::unique_ptr<sd_event, velmw::UnrefLoop> loop;
  ipc::EventSource terminate;
  ipc::EventSource interrupt;
  velmw::Announcements announcements;
};

#endif
