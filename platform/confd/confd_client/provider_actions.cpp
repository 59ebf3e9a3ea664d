// Actions.
#include <confd_dp.h>

#include <deque>
#include <vector>

#include "confd_client/keypath_builder.h"
#include "confd_client/provider_answer.h"
#include "confd_client/provider_work.h"
#include "confd_client/wire_value.h"
#include "fail_point.h"

namespace confd {
namespace {

using cfm::agent::ProviderReply;

confd_user_info UserOf(Daemon& daemon, const cfm::agent::PerformAction& action, std::uint64_t id,
                       void* cb_opaque) {
  confd_user_info user{};
  user.af = AF_UNIX;  // front ends are on this machine
  user.usid = static_cast<int>(id);
  action.user().copy(user.username, sizeof(user.username) - 1);
  user.actionfd = -1;
  user.dx = &daemon;
  user.cb_opaque = cb_opaque;
  return user;
}

// Why the action did not come off, or nothing.
std::string Perform(Daemon& daemon, const confd_action_cbs& callbacks, confd_user_info& user,
                    const cfm::agent::PerformAction& action) {
  std::deque<BorrowedValue> values;
  std::vector<confd_tag_value_t> parameters;
  for (const auto& parameter : action.parameters()) {
    values.emplace_back(parameter.value());
    parameters.push_back({{parameter.tag(), parameter.ns()}, values.back().Get()});
  }
  if (Call([&] { return callbacks.init(&user); }) != CONFD_OK) {
    return "the init callback failed";
  }
  if (user.actionfd != daemon.worker->fd) {
    return "the init callback named no worker socket";
  }
  xml_tag name{action.name(), action.ns()};
  KeypathBuilder keypath;  // operations stand at the top of the model
  const int result = Call([&] {
    return callbacks.action(&user, &name, &keypath.Fill(), parameters.data(),
                            static_cast<int>(parameters.size()));
  });
  return result == CONFD_OK ? "" : "the callback failed";
}

}  // namespace

int WorkAction(Daemon& daemon, const cfm::agent::ProviderRequest& request) {
  const auto& action = request.action();
  const auto point = daemon.action_points.find(action.actionpoint());
  if (point == daemon.action_points.end()) {
    return Refuse(*daemon.worker, request.id(),
                  "the program has no action point " + action.actionpoint());
  }
  confd_user_info user = UserOf(daemon, action, request.id(), point->second.cb_opaque);
  CFM_FAIL_POINT(confd_action_calling);
  const std::string failure = Perform(daemon, point->second, user, action);
  CFM_FAIL_POINT(confd_action_returned);
  if (!failure.empty()) {
    Fail(*daemon.worker, request.id(), "action point " + action.actionpoint() + ": " + failure);
  }
  Send(*daemon.worker, Answer(request.id(), ProviderReply::OK));
  CFM_FAIL_POINT(confd_action_answered);
  return CONFD_OK;
}

}  // namespace confd
