// Data providers: from confd_init_daemon to confd_register_done, and their end.
#include <confd_dp.h>

#include <cstring>
#include <string_view>

#include "confd_client/connection.h"
#include "confd_client/daemon.h"
#include "confd_client/dial.h"
#include "fail_point.h"

namespace confd {
namespace {

[[noreturn]] void ThrowBadState(const std::string& text) {
  throw ApiError(CONFD_ERR_BADSTATE, text);
}

void CheckStillRegistering(const Daemon& daemon) {
  if (daemon.register_done) {
    ThrowBadState("confd_register_done has ended the registration of this daemon");
  }
}

// What has to be so for the next socket of the daemon to be of that type.
void CheckIsNext(const Daemon& daemon, confd_sock_type type) {
  if (type != CONTROL_SOCKET && type != WORKER_SOCKET) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, std::to_string(type) + " is no type of a daemon's socket");
  }
  if (type == WORKER_SOCKET && !daemon.control) {
    ThrowBadState("connect the control socket before the worker socket");
  }
  if (type == CONTROL_SOCKET ? daemon.control.has_value() : daemon.worker.has_value()) {
    ThrowBadState("the daemon has a socket of this type already");
  }
}

void ConnectDaemon(Daemon& daemon, int fd, confd_sock_type type, const sockaddr* address,
                   int size) {
  CheckIsNext(daemon, type);
  RemoveConnection(fd);  // of an earlier socket with this number
  Connect(fd, address, size);
  ProviderSocket socket(fd);
  cfm::agent::Hello hello;
  hello.set_name(daemon.name);
  hello.set_provider(daemon.provider);
  if (type == CONTROL_SOCKET) {
    hello.set_role(cfm::agent::ROLE_CONTROL);
    daemon.provider = Greet(socket.link, hello).provider();
    daemon.control.emplace(socket);
  } else {
    hello.set_role(cfm::agent::ROLE_WORKER);
    Greet(socket.link, hello);
    daemon.agent = AddressText(address, size);
    daemon.worker.emplace(socket);
  }
}

// A name in the fixed array of a callback structure.
template <std::size_t N>
std::string NameOf(const char (&name)[N], const char* what) {
  const std::size_t length = strnlen(name, N);
  if (length == 0 || length == N) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, std::string("the name of the ") + what + " is " +
                                             (length == 0 ? "empty" : "not terminated"));
  }
  return {name, length};
}

template <typename Callbacks>
int Register(std::map<std::string, Callbacks>& registered, std::string name, const char* what,
             const Callbacks& callbacks) {
  if (!registered.emplace(name, callbacks).second) {
    throw ApiError(CONFD_ERR_ALREADY_EXISTS,
                   std::string(what) + " " + name + " is registered already");
  }
  return CONFD_OK;
}

void CheckGiven(const void* pointer) {
  if (pointer == nullptr) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, "the callbacks' address is null");
  }
}

int RegisterTransactions(Daemon& daemon, const confd_trans_cbs* callbacks) {
  CheckStillRegistering(daemon);
  CheckGiven(callbacks);
  if (callbacks->init == nullptr) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, "transactions need an init callback");
  }
  daemon.transaction_callbacks = *callbacks;
  return CONFD_OK;
}

int RegisterData(Daemon& daemon, const confd_data_cbs* callbacks) {
  CheckStillRegistering(daemon);
  CheckGiven(callbacks);
  return Register(daemon.callpoints, NameOf(callbacks->callpoint, "callpoint"), "callpoint",
                  *callbacks);
}

int RegisterActions(Daemon& daemon, const confd_action_cbs* callbacks) {
  CheckStillRegistering(daemon);
  CheckGiven(callbacks);
  if (callbacks->init == nullptr || callbacks->action == nullptr) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, "an action needs an init and an action callback");
  }
  return Register(daemon.action_points, NameOf(callbacks->actionpoint, "action point"),
                  "action point", *callbacks);
}

int EndRegistration(Daemon& daemon) {
  CheckStillRegistering(daemon);
  if (!daemon.control || !daemon.worker) {
    ThrowBadState("connect the control and the worker socket before confd_register_done");
  }
  if (!daemon.callpoints.empty() && !daemon.transaction_callbacks) {
    ThrowBadState("callpoints need the callbacks of confd_register_trans_cb");
  }
  cfm::agent::Request request;
  auto& registration = *request.mutable_register_provider();
  for (const auto& [name, callbacks] : daemon.callpoints) {
    registration.add_callpoints(name);
  }
  for (const auto& [name, callbacks] : daemon.action_points) {
    registration.add_actionpoints(name);
  }
  CFM_FAIL_POINT(confd_registering);
  daemon.control->link.Transact(request);
  daemon.register_done = true;
  CFM_FAIL_POINT(confd_registered);
  return CONFD_OK;
}

}  // namespace
}  // namespace confd

extern "C" {

struct confd_daemon_ctx* confd_init_daemon(const char* name) {
  confd_daemon_ctx* daemon = nullptr;
  confd::Guarded([&] {
    daemon = confd::AddDaemon(name);
    return CONFD_OK;
  });
  return daemon;
}

void confd_release_daemon(struct confd_daemon_ctx* dx) {
  confd::RemoveDaemon(dx);
}

int confd_connect(struct confd_daemon_ctx* dx, int sock, enum confd_sock_type type,
                  const struct sockaddr* srv, int srv_sz) {
  return confd::WithAddress(
      srv, srv_sz, [&] { confd::ConnectDaemon(*confd::FindDaemon(dx), sock, type, srv, srv_sz); });
}

int confd_register_trans_cb(struct confd_daemon_ctx* dx, const struct confd_trans_cbs* trans) {
  return confd::OnDaemon(
      dx, [&](confd::Daemon& daemon) { return confd::RegisterTransactions(daemon, trans); });
}

int confd_register_data_cb(struct confd_daemon_ctx* dx, const struct confd_data_cbs* data) {
  return confd::OnDaemon(dx,
                         [&](confd::Daemon& daemon) { return confd::RegisterData(daemon, data); });
}

int confd_register_action_cbs(struct confd_daemon_ctx* dx, const struct confd_action_cbs* acb) {
  return confd::OnDaemon(
      dx, [&](confd::Daemon& daemon) { return confd::RegisterActions(daemon, acb); });
}

int confd_register_done(struct confd_daemon_ctx* dx) {
  return confd::OnDaemon(dx, confd::EndRegistration);
}

}  // extern "C"
