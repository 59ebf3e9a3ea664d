// An owned confd_daemon_ctx.
#ifndef VELCONFD_DAEMON_CONTEXT_H
#define VELCONFD_DAEMON_CONTEXT_H

#include <confd_dp.h>

#include <memory>

namespace velconfd {

// confd_release_daemon: no transaction of it exists afterwards.
struct ReleaseDaemon {
  void operator()(confd_daemon_ctx* context) const { confd_release_daemon(context); }
};
using DaemonContext = std::unique_ptr<confd_daemon_ctx, ReleaseDaemon>;

}  // namespace velconfd

#endif
