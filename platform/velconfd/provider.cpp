#include "provider.h"

#include <cstring>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "agent_error.h"
#include "log.h"

namespace velconfd {

// What the library calls. The daemon context knows the provider, and the
// opaque pointer of a registration is the handler's object.
struct ProviderCallbacks {
  static Provider& Of(const confd_daemon_ctx* context) {
    return *static_cast<Provider*>(context->d_opaque);
  }

  static int Init(confd_trans_ctx* transaction) noexcept {
    Provider& provider = Of(transaction->dx);
    return provider.Guarded([&] { return provider.InitTransaction(transaction); });
  }

  static int Finish(confd_trans_ctx* transaction) noexcept {
    Provider& provider = Of(transaction->dx);
    return provider.Guarded([&] { return provider.FinishTransaction(transaction); });
  }

  static int GetElem(confd_trans_ctx* transaction, confd_hkeypath_t* keypath) noexcept {
    return Read(transaction, [&](DataHandler::Callpoint& callpoint) {
      return callpoint.GetElemCallback(transaction, keypath);
    });
  }

  static int GetNext(confd_trans_ctx* transaction, confd_hkeypath_t* keypath, long next) noexcept {
    return Read(transaction, [&](DataHandler::Callpoint& callpoint) {
      return callpoint.GetNextCallback(transaction, keypath, next);
    });
  }

  static int InitAction(confd_user_info* user) noexcept {
    confd_action_set_fd(user, Of(user->dx).WorkerSocket());
    return CONFD_OK;
  }

  static int Act(confd_user_info* user, xml_tag* name, confd_hkeypath_t* keypath,
                 confd_tag_value_t* params, int nparams) noexcept {
    auto* handler = static_cast<ActionHandler*>(user->cb_opaque);
    return Of(user->dx).Guarded(
        [&] { return handler->ActionCb(user, name, keypath, params, nparams); });
  }

 private:
  template <typename Call>
  static int Read(confd_trans_ctx* transaction, Call call) noexcept {
    Provider& provider = Of(transaction->dx);
    auto* callpoint = static_cast<DataHandler::Callpoint*>(transaction->cb_opaque);
    const int result = provider.Guarded([&] { return call(*callpoint); });
    provider.has_delayed_ |= result == CONFD_DELAYED_RESPONSE;
    return result;
  }
};

namespace {

DaemonContext NewContext(const AgentAddress& agent) {
  DaemonContext context(confd_init_daemon(agent.client_name.c_str()));
  if (!context) {
    throw std::bad_alloc();
  }
  return context;
}

// Puts a name into the fixed array of a registration.
template <std::size_t N>
void SetName(char (&place)[N], const char* name, const char* what, std::set<std::string>& taken) {
  if (name == nullptr || *name == '\0' || std::strlen(name) >= N) {
    throw std::invalid_argument(std::string("a handler gives no usable name for its ") + what);
  }
  if (!taken.insert(name).second) {
    throw std::invalid_argument(std::string(what) + " " + name +
                                " belongs to two handlers; it can be answered by one only");
  }
  std::memcpy(place, name, std::strlen(name) + 1);
}

}  // namespace

Provider::Provider(const AgentAddress& agent, zlog_category_s* log, const HandlerLists& handlers)
    : log_(log),
      data_handlers_(handlers.data),
      action_handlers_(handlers.action),
      context_(NewContext(agent)),
      control_(Connected(agent, CONTROL_SOCKET)),
      worker_(Connected(agent, WORKER_SOCKET)) {
  context_->d_opaque = this;
  RegisterData();
  RegisterActions();
  Check(confd_register_done(context_.get()), "confd_register_done");
}

ipc::UniqueFd Provider::Connected(const AgentAddress& agent, confd_sock_type type) {
  ipc::UniqueFd fd(NewAgentSocket());
  const int result =
      confd_connect(context_.get(), fd.Get(), type, agent.Get(), sizeof(agent.address));
  if (result != CONFD_OK) {
    ThrowNotConnected(agent, result, "confd_connect");
  }
  return fd;
}

void Provider::RegisterData() {
  const confd_trans_cbs transactions{ProviderCallbacks::Init, ProviderCallbacks::Finish};
  Check(confd_register_trans_cb(context_.get(), &transactions), "confd_register_trans_cb");
  std::set<std::string> taken;
  for (const DataHandler* handler : data_handlers_) {
    for (DataHandler::Callpoint* callpoint : handler->GetCallpoints()) {
      confd_data_cbs callbacks{};
      SetName(callbacks.callpoint, callpoint->GetCallpoint(), "callpoint", taken);
      callbacks.get_elem = ProviderCallbacks::GetElem;
      callbacks.get_next = ProviderCallbacks::GetNext;
      callbacks.cb_opaque = callpoint;
      Check(confd_register_data_cb(context_.get(), &callbacks), "confd_register_data_cb");
    }
  }
}

void Provider::RegisterActions() {
  std::set<std::string> taken;
  for (ActionHandler* handler : action_handlers_) {
    confd_action_cbs callbacks{};
    SetName(callbacks.actionpoint, handler->GetActionPoint(), "action point", taken);
    callbacks.init = ProviderCallbacks::InitAction;
    callbacks.action = ProviderCallbacks::Act;
    callbacks.cb_opaque = handler;
    Check(confd_register_action_cbs(context_.get(), &callbacks), "confd_register_action_cbs");
  }
}

void Provider::Work(int socket) {
  const int result = confd_fd_ready(context_.get(), socket);
  if (thrown_) {
    std::rethrow_exception(std::exchange(thrown_, nullptr));
  }
  if (result == CONFD_ERR && confd_errno == CONFD_ERR_EXTERNAL) {
    // The agent knows too; the connection is as good as before.
    Log(log_, kTolerated, std::string("A request of the agent failed: ") + confd_lasterr());
    return;
  }
  Check(result, "confd_fd_ready");
}

DaemonContext Provider::TakeContextInUse() {
  if (!has_delayed_) {
    return nullptr;
  }
  context_->d_opaque = nullptr;
  return std::move(context_);
}

// The reads of a transaction may be for any of the handlers, so each takes
// part in all. Those that have begun one when a later one refuses are told of
// its end.
int Provider::InitTransaction(confd_trans_ctx* transaction) {
  confd_trans_set_fd(transaction, WorkerSocket());
  for (auto handler = data_handlers_.begin(); handler != data_handlers_.end(); ++handler) {
    if ((*handler)->TransactionInit(transaction) != CONFD_OK) {
      while (handler != data_handlers_.begin()) {
        (*--handler)->TransactionFinish(transaction);
      }
      return CONFD_ERR;
    }
  }
  return CONFD_OK;
}

int Provider::FinishTransaction(confd_trans_ctx* transaction) {
  int result = CONFD_OK;
  for (DataHandler* handler : data_handlers_) {
    if (handler->TransactionFinish(transaction) != CONFD_OK) {
      result = CONFD_ERR;
    }
  }
  return result;
}

int Provider::Guarded(const std::function<int()>& call) noexcept {
  try {
    return call();
  } catch (...) {
    thrown_ = std::current_exception();
    return CONFD_ERR;
  }
}

}  // namespace velconfd
