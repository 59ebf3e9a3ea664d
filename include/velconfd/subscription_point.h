// One subscription of a configuration handler to committed changes.
#ifndef VELCONFD_SUBSCRIPTION_POINT_H
#define VELCONFD_SUBSCRIPTION_POINT_H

#include <confd_cdb.h>
#include <confd_lib.h>

#include <cstdint>
#include <functional>

namespace velconfd {

struct SubscriptionPoint {
  int priority;              // given to ConfD; lower is served first
  std::uint32_t name_space;  // hash of the data model's namespace
  const char* path;          // subscribed to; ends with a slash
  int subscription_id;       // ConfD's number of the point; the framework fills it in, in its copy
  // Called once per changed node below `path` during a commit. The arguments
  // are valid during the call only; the old and the new value are null where
  // there is none.
  std::function<confd_iter_ret(confd_hkeypath*, confd_iter_op, confd_value*, confd_value*)> iterate;
};

}  // namespace velconfd

#endif
