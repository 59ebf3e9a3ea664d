// From confd_init_daemon to confd_register_done.
#include <gmock/gmock.h>

#include <cstring>

#include "confd/provider_program.h"
#include "frame.h"

namespace {

using test::DaemonContext;
using test::FakeAgent;
using test::ProviderAgent;
using testing::ElementsAre;
using testing::HasSubstr;

int NoInit(confd_trans_ctx*) {
  return CONFD_OK;
}

confd_data_cbs Callpoint(const char* name) {
  confd_data_cbs callbacks{};
  std::strcpy(callbacks.callpoint, name);
  return callbacks;
}

TEST(ProviderSetup, TheAgentLearnsTheNamesOfAllPoints) {
  ProviderAgent agent;
  const test::Program program(agent);
  EXPECT_THAT(agent.Registration().callpoints(), ElementsAre("level", "state"));
  EXPECT_THAT(agent.Registration().actionpoints(), ElementsAre("clear"));
}

TEST(ProviderSetup, TheControlSocketComesFirst) {
  ProviderAgent agent;
  const DaemonContext daemon(confd_init_daemon("tester"));
  const ipc::UniqueFd fd(agent.Listener().NewSocket());
  EXPECT_EQ(confd_connect(daemon.get(), fd.Get(), WORKER_SOCKET, agent.Listener().Address(),
                          agent.Listener().AddressSize()),
            CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
  EXPECT_THAT(confd_lasterr(), HasSubstr("connect the control socket before"));
}

TEST(ProviderSetup, ThereIsOneSocketOfEachType) {
  ProviderAgent agent;
  const test::Program program(agent);
  for (const auto type : {CONTROL_SOCKET, WORKER_SOCKET}) {
    const ipc::UniqueFd fd(agent.Listener().NewSocket());
    EXPECT_EQ(confd_connect(program.Daemon(), fd.Get(), type, agent.Listener().Address(),
                            agent.Listener().AddressSize()),
              CONFD_ERR);
    EXPECT_THAT(confd_lasterr(), HasSubstr("has a socket of this type already"));
  }
}

TEST(ProviderSetup, ARefusedGreetingIsAnErrorWithTheAgentsText) {
  FakeAgent agent({[](int fd) {
    cfm::agent::Hello hello;
    ipc::ReceiveFrame(fd, hello);
    cfm::agent::HelloReply reply;
    reply.set_error("full");
    ipc::SendFrame(fd, reply);
  }});
  const DaemonContext daemon(confd_init_daemon("tester"));
  const ipc::UniqueFd fd(agent.NewSocket());
  EXPECT_EQ(
      confd_connect(daemon.get(), fd.Get(), CONTROL_SOCKET, agent.Address(), agent.AddressSize()),
      CONFD_ERR);
  EXPECT_THAT(confd_lasterr(), HasSubstr("the agent refuses: full"));
}

TEST(ProviderSetup, ANameIsRegisteredOnce) {
  const DaemonContext daemon(confd_init_daemon("tester"));
  const confd_data_cbs callpoint = Callpoint("level");
  EXPECT_EQ(confd_register_data_cb(daemon.get(), &callpoint), CONFD_OK);
  EXPECT_EQ(confd_register_data_cb(daemon.get(), &callpoint), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_ALREADY_EXISTS);
}

TEST(ProviderSetup, ANameIsNeitherEmptyNorEndless) {
  const DaemonContext daemon(confd_init_daemon("tester"));
  confd_data_cbs callpoint = Callpoint("");
  EXPECT_EQ(confd_register_data_cb(daemon.get(), &callpoint), CONFD_ERR);
  EXPECT_THAT(confd_lasterr(), HasSubstr("empty"));
  std::memset(callpoint.callpoint, 'x', sizeof(callpoint.callpoint));
  EXPECT_EQ(confd_register_data_cb(daemon.get(), &callpoint), CONFD_ERR);
  EXPECT_THAT(confd_lasterr(), HasSubstr("not terminated"));
}

TEST(ProviderSetup, CallbacksThatEverythingNeedsMustBeThere) {
  const DaemonContext daemon(confd_init_daemon("tester"));
  const confd_trans_cbs transactions{};
  EXPECT_EQ(confd_register_trans_cb(daemon.get(), &transactions), CONFD_ERR);
  EXPECT_EQ(confd_register_trans_cb(daemon.get(), nullptr), CONFD_ERR);
  confd_action_cbs action{};
  std::strcpy(action.actionpoint, "clear");
  EXPECT_EQ(confd_register_action_cbs(daemon.get(), &action), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
}

TEST(ProviderSetup, RegistrationNeedsBothSockets) {
  const DaemonContext daemon(confd_init_daemon("tester"));
  EXPECT_EQ(confd_register_done(daemon.get()), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
}

TEST(ProviderSetup, NothingIsRegisteredAfterTheEndOfIt) {
  ProviderAgent agent;
  const test::Program program(agent);
  const confd_data_cbs callpoint = Callpoint("late");
  const confd_trans_cbs transactions{NoInit, nullptr};
  EXPECT_EQ(confd_register_data_cb(program.Daemon(), &callpoint), CONFD_ERR);
  EXPECT_EQ(confd_register_trans_cb(program.Daemon(), &transactions), CONFD_ERR);
  EXPECT_EQ(confd_register_done(program.Daemon()), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
}

TEST(ProviderSetup, TheAgentMayRefuseTheRegistration) {
  ProviderAgent agent("callpoint level is taken");
  try {
    const test::Program program(agent);
    FAIL() << "registered";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "callpoint level is taken");
  }
}

TEST(ProviderSetup, WhatIsNoDaemonIsRefused) {
  confd_daemon_ctx stranger{};
  EXPECT_EQ(confd_register_done(&stranger), CONFD_ERR);
  EXPECT_EQ(confd_fd_ready(nullptr, 0), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
  confd_release_daemon(&stranger);
  confd_release_daemon(nullptr);
}

TEST(ProviderSetup, AReleasedDaemonIsNoneAnyMore) {
  ProviderAgent agent;
  test::Program program(agent);
  confd_daemon_ctx* const daemon = program.Daemon();
  program.Release();
  EXPECT_EQ(confd_fd_ready(daemon, program.Worker()), CONFD_ERR);
}

TEST(ProviderSetup, OnlyItsOwnSocketsAreWorked) {
  ProviderAgent agent;
  const test::Program program(agent);
  EXPECT_EQ(confd_fd_ready(program.Daemon(), 0), CONFD_ERR);
  EXPECT_THAT(confd_lasterr(), HasSubstr("socket 0 is none of this daemon's"));
}

}  // namespace
