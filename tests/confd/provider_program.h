// A program on the data provider API whose callbacks do what the test says.
#ifndef TESTS_CONFD_PROVIDER_PROGRAM_H
#define TESTS_CONFD_PROVIDER_PROGRAM_H

#include <confd_dp.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "confd/provider_agent.h"
#include "unique_fd.h"

namespace test {

struct ReleaseDaemon {
  void operator()(confd_daemon_ctx* daemon) const { confd_release_daemon(daemon); }
};
using DaemonContext = std::unique_ptr<confd_daemon_ctx, ReleaseDaemon>;

// The callbacks of everything that a Program registers.
struct Callbacks {
  std::function<int(confd_trans_ctx*)> init;  // besides naming the worker socket
  std::function<int(confd_trans_ctx*)> finish;
  std::function<int(confd_trans_ctx*, confd_hkeypath_t*)> get_elem;
  std::function<int(confd_trans_ctx*, confd_hkeypath_t*, long)> get_next;
  std::function<int(confd_user_info*)> action_init;
  std::function<int(confd_user_info*, xml_tag*, confd_hkeypath_t*, confd_tag_value_t*, int)> action;

  bool names_worker = true;
  int worker = -1;
};

// Connected and registered with the callpoints "level" and "state" and the
// action point "clear". For the library no time passes.
class Program {
 public:
  explicit Program(ProviderAgent& agent);

  confd_daemon_ctx* Daemon() const { return daemon_.get(); }
  int Control() const { return control_.Get(); }
  int Worker() const { return worker_.Get(); }
  // Works what is readable; result of confd_fd_ready.
  int WorkControl() { return confd_fd_ready(Daemon(), Control()); }
  int WorkWorker() { return confd_fd_ready(Daemon(), Worker()); }

  void Release() { daemon_.reset(); }
  void CloseSockets() {
    control_ = ipc::UniqueFd();
    worker_ = ipc::UniqueFd();
  }

  Callbacks does;

 private:
  DaemonContext daemon_;
  ipc::UniqueFd control_;
  ipc::UniqueFd worker_;
};

// An agent and a program that is registered with it.
class ProviderTest : public testing::Test {
 protected:
  // Opens the transaction and lets every later one be opened.
  void Open(std::uint32_t thandle);
  void Close(std::uint32_t thandle);
  // A read that the program parks; the context comes back.
  confd_trans_ctx* Park(std::uint32_t thandle);
  // What the agent gets of a read now.
  cfm::agent::ProviderReply Read(std::uint32_t thandle);

  ProviderAgent agent_;
  Program program_{agent_};
};

int ReplyInt32(confd_trans_ctx* transaction, std::int32_t number);

}  // namespace test

#endif
