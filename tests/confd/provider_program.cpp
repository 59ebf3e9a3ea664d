#include "confd/provider_program.h"

#include <cstring>

#include "confd_client/daemon.h"

namespace test {
namespace {

Callbacks& Of(const confd_daemon_ctx* daemon) {
  return *static_cast<Callbacks*>(daemon->d_opaque);
}

int OnInit(confd_trans_ctx* transaction) {
  Callbacks& does = Of(transaction->dx);
  if (does.names_worker) {
    confd_trans_set_fd(transaction, does.worker);
  }
  return does.init ? does.init(transaction) : CONFD_OK;
}
int OnFinish(confd_trans_ctx* transaction) {
  const Callbacks& does = Of(transaction->dx);
  return does.finish ? does.finish(transaction) : CONFD_OK;
}
int OnGetElem(confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
  return Of(transaction->dx).get_elem(transaction, keypath);
}
int OnGetNext(confd_trans_ctx* transaction, confd_hkeypath_t* keypath, long next) {
  return Of(transaction->dx).get_next(transaction, keypath, next);
}
int OnActionInit(confd_user_info* user) {
  const Callbacks& does = Of(user->dx);
  if (does.names_worker) {
    confd_action_set_fd(user, does.worker);
  }
  return does.action_init ? does.action_init(user) : CONFD_OK;
}
int OnAction(confd_user_info* user, xml_tag* name, confd_hkeypath_t* keypath,
             confd_tag_value_t* parameters, int count) {
  return Of(user->dx).action(user, name, keypath, parameters, count);
}

void Check(int result) {
  if (result != CONFD_OK) {
    throw std::runtime_error(confd_lasterr());
  }
}

ipc::UniqueFd Connected(confd_daemon_ctx* daemon, const FakeAgent& agent, confd_sock_type type) {
  ipc::UniqueFd fd(agent.NewSocket());
  Check(confd_connect(daemon, fd.Get(), type, agent.Address(), agent.AddressSize()));
  return fd;
}

void RegisterCallpoint(confd_daemon_ctx* daemon, const char* name, const char* opaque) {
  confd_data_cbs callbacks{};
  std::strcpy(callbacks.callpoint, name);
  callbacks.get_elem = OnGetElem;
  callbacks.get_next = OnGetNext;
  callbacks.cb_opaque = const_cast<char*>(opaque);
  Check(confd_register_data_cb(daemon, &callbacks));
}

}  // namespace

Program::Program(ProviderAgent& agent)
    : daemon_(confd_init_daemon("tester")),
      control_(Connected(Daemon(), agent.Listener(), CONTROL_SOCKET)),
      worker_(Connected(Daemon(), agent.Listener(), WORKER_SOCKET)) {
  Daemon()->d_opaque = &does;
  confd::FindDaemon(Daemon())->now = [] { return std::chrono::steady_clock::duration(0); };
  does.worker = Worker();
  const confd_trans_cbs transactions{OnInit, OnFinish};
  Check(confd_register_trans_cb(Daemon(), &transactions));
  RegisterCallpoint(Daemon(), "level", "of level");
  RegisterCallpoint(Daemon(), "state", "of state");
  confd_action_cbs action{};
  std::strcpy(action.actionpoint, "clear");
  action.init = OnActionInit;
  action.action = OnAction;
  action.cb_opaque = const_cast<char*>("of clear");
  Check(confd_register_action_cbs(Daemon(), &action));
  Check(confd_register_done(Daemon()));
}

void ProviderTest::Open(std::uint32_t thandle) {
  const auto id = agent_.Init(thandle);
  ASSERT_EQ(program_.WorkControl(), CONFD_OK) << confd_lasterr();
  const auto reply = agent_.Take(agent_.Control());
  ASSERT_EQ(reply.id(), id);
  ASSERT_EQ(reply.result(), cfm::agent::ProviderReply::OK);
}

void ProviderTest::Close(std::uint32_t thandle) {
  const auto id = agent_.Finish(thandle);
  ASSERT_EQ(program_.WorkControl(), CONFD_OK) << confd_lasterr();
  const auto reply = agent_.Take(agent_.Control());
  ASSERT_EQ(reply.id(), id);
  ASSERT_EQ(reply.result(), cfm::agent::ProviderReply::OK);
}

confd_trans_ctx* ProviderTest::Park(std::uint32_t thandle) {
  confd_trans_ctx* parked = nullptr;
  program_.does.get_elem = [&](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    parked = transaction;
    return CONFD_DELAYED_RESPONSE;
  };
  const auto id = agent_.GetElem(thandle, "level");
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  const auto reply = agent_.Take(agent_.Worker());
  EXPECT_EQ(reply.id(), id);
  EXPECT_EQ(reply.result(), cfm::agent::ProviderReply::DELAYED);
  return parked;
}

cfm::agent::ProviderReply ProviderTest::Read(std::uint32_t thandle) {
  const auto id = agent_.GetElem(thandle, "level");
  program_.WorkWorker();
  auto reply = agent_.Take(agent_.Worker());
  EXPECT_EQ(reply.id(), id);
  return reply;
}

int ReplyInt32(confd_trans_ctx* transaction, std::int32_t number) {
  confd_value_t value;
  CONFD_SET_INT32(&value, number);
  return confd_data_reply_value(transaction, &value);
}

}  // namespace test
