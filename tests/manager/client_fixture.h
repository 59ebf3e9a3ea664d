// The client in the middleware's own loop, against a manager that the test
// plays in the same loop.
#ifndef TESTS_MANAGER_CLIENT_FIXTURE_H
#define TESTS_MANAGER_CLIENT_FIXTURE_H

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <velmidware_loop.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cfm/client.h"
#include "hierarchy_codec.h"
#include "process.h"
#include "random_hierarchy.h"
#include "scripted_manager.h"
#include "temporary_directory.h"

namespace test {

class RecordingReceiver : public cfm::ReceivedInformationHandler {
 public:
  std::vector<std::string> calls;
  std::function<void()> on_call = [] {};

  void HandleStatusLocalMep(std::string md, std::string ma, unsigned short mep,
                            const cfm::st_lmep_status& status) override {
    Record(fmt::format("local status {} {} {} {}", md, ma, mep, status.tx_rdi));
  }
  void HandleStatusRemoteMep(std::string md, std::string ma, unsigned short mep,
                             unsigned short rmep, const cfm::st_rmep_status& status) override {
    Record(fmt::format("remote status {} {} {} {} {}", md, ma, mep, rmep,
                       static_cast<int>(status.state)));
  }
  void HandleStatisticsLocalMep(std::string md, std::string ma, unsigned short mep,
                                const cfm::st_lmep_stats& stats) override {
    Record(fmt::format("local statistics {} {} {} {}", md, ma, mep, stats.counter1));
  }
  void HandleStatisticsRemoteMep(std::string md, std::string ma, unsigned short mep,
                                 unsigned short rmep, const cfm::st_rmep_stats& stats) override {
    Record(fmt::format("remote statistics {} {} {} {} {}", md, ma, mep, rmep, stats.rmep_counter));
  }
  void HandleStatisticsFinished() override { Record("finished"); }
  void HandleRemovedLocalMep(std::string md, std::string ma, unsigned short mep) override {
    Record(fmt::format("local removed {} {} {}", md, ma, mep));
  }
  void HandleRemovedRemoteMep(std::string md, std::string ma, unsigned short mep,
                              unsigned short rmep) override {
    Record(fmt::format("remote removed {} {} {} {}", md, ma, mep, rmep));
  }
  void HandleStatusInvalidated() override { Record("invalidated"); }

 private:
  void Record(const std::string& call) {
    calls.push_back(call);
    on_call();
  }
};

class ClientFixture : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(setenv("CFM_RUNTIME_DIR", directory_.Path().c_str(), 1), 0);
    ASSERT_EQ(setenv("CFM_LOG", "stderr", 1), 0);
    middleware_ = velmw_init("client-test");
  }
  void TearDown() override {
    client_.reset();
    manager_.reset();
    velmw_finish(&middleware_);
  }

  sd_event* Loop() { return velmw::EventLoop(middleware_); }
  void StartManager() { manager_ = std::make_unique<ScriptedManager>(Loop()); }
  void StartClient() {
    client_ = std::make_unique<cfm::Client>(middleware_, &receiver_);
    receiver_.calls.clear();
  }
  void ConnectBoth() {
    StartManager();
    StartClient();
    Apply("first");
    ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 1; }));
    Settle();
  }
  void Announce(velmw::AgentState state) { velmw::AnnounceAgentState(middleware_, state); }
  int Apply(const std::string& md) {
    return client_->ApplyConfiguration(RegularHierarchy(md, 1, 1));
  }

  // Dispatches events until the condition holds. False when patience runs out.
  bool Await(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) {
        return false;
      }
      sd_event_run(Loop(), 1'000'000);
    }
    return true;
  }
  // Dispatches what is ready now.
  void Settle() {
    while (sd_event_run(Loop(), 0) > 0) {
    }
  }
  std::vector<std::string> ReceivedMds() const {
    std::vector<std::string> names;
    for (const auto& configuration : manager_->Configurations()) {
      names.push_back(configuration.mds_size() > 0 ? cfm::DecodeMd(configuration.mds(0)).first
                                                   : "none");
    }
    return names;
  }

  TemporaryDirectory directory_;
  velmw_t* middleware_ = nullptr;
  RecordingReceiver receiver_;
  std::unique_ptr<ScriptedManager> manager_;
  std::unique_ptr<cfm::Client> client_;
};

}  // namespace test

#endif
