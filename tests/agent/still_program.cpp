// A program on the ConfD API that does nothing once it has connected: a test
// freezes it, or leaves it asleep. Its notification to the service manager says
// that it has come so far.
//
//   still_program SOCKET NAME ROLE...
//
//   subscriber=PRIORITY   of the list of MDs
//   provider              of all callpoints and action points
//   lock                  a session that holds the configuration locked
//   writers               a session that deletes the first local MEP and holds
//                         other writers off
//   session               one that holds nothing
#include <confd_lib.h>
#include <gtest/gtest.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <confd_cdb.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <list>
#include <map>
#include <stdexcept>
#include <string>

#include "operational_paths.h"
#include "running_agent.h"
#include "scripted_provider.h"

namespace agentd::test {
namespace {

class StillProgram {
 public:
  StillProgram(std::filesystem::path socket, std::string name)
      : socket_(std::move(socket)), name_(std::move(name)) {}

  void Become(const std::string& role) {
    const std::size_t equals = role.find('=');
    const std::map<std::string, std::function<void(const std::string&)>> roles = {
        {"subscriber", [this](const std::string& priority) { Subscribe(std::stoi(priority)); }},
        {"provider", [this](const std::string&) { providers_.emplace_back(socket_, name_); }},
        {"lock", [this](const std::string&) { Lock(); }},
        {"writers", [this](const std::string&) { HoldWritersOff(); }},
        {"session", [this](const std::string&) { Open(pb::ROLE_CDB_DATA); }},
    };
    roles.at(role.substr(0, equals))(equals == std::string::npos ? "" : role.substr(equals + 1));
  }

 private:
  Client& Open(pb::Role role) { return clients_.emplace_back(socket_, role, name_); }

  void Subscribe(std::int32_t priority) {
    Client& client = Open(pb::ROLE_CDB_SUBSCRIPTION);
    client.Subscribe(priority, {"config", "oam", "cfm", "md"});
    client.SubscribeDone();
  }
  void Lock() {
    Client& client = Open(pb::ROLE_CDB_DATA);
    client.StartSession(CDB_RUNNING, CDB_LOCK_SESSION | CDB_LOCK_WAIT);
    EXPECT_EQ(client.Receive().errors_size(), 0);
  }
  void HoldWritersOff() {
    Client& client = Open(pb::ROLE_CDB_DATA);
    client.StartSession(CDB_OPERATIONAL, 0);
    pb::Request request;
    auto& write = *request.mutable_operational_write();
    write.set_operation(pb::OperationalWrite::DELETE);
    write.set_hold(true);
    *write.mutable_path() = PositionPath("local", 0);
    EXPECT_TRUE(client.Call(request).held());
  }

  std::filesystem::path socket_;
  std::string name_;
  std::list<Client> clients_;
  std::list<ScriptedProvider> providers_;
};

int Run(int argc, char** argv) {
  if (argc < 3) {
    throw std::runtime_error("usage: still_program SOCKET NAME ROLE...");
  }
  StillProgram program(argv[1], argv[2]);
  for (int i = 3; i < argc; ++i) {
    program.Become(argv[i]);
  }
  if (testing::Test::HasFailure()) {
    return EXIT_FAILURE;
  }
  sd_notify(0, "READY=1");
  while (true) {
    pause();
  }
}

}  // namespace
}  // namespace agentd::test

int main(int argc, char** argv) {
  try {
    return agentd::test::Run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
