// A program with one handler of each kind on the framework, and its agent.
#ifndef TESTS_FRAMEWORK_TEST_H
#define TESTS_FRAMEWORK_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/temporary_directory.h>
#include <velconfd/app_interface.h>
#include <velconfd/cdb_session.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "fake_confd.h"
#include "fake_middleware.h"

namespace test {

// What a handler of these tests does at a call, by the line in the journal.
using Reactions = std::map<std::string, std::function<void()>>;

class Notes {
 public:
  Notes(Journal& journal, Reactions& reactions) : journal_(journal), reactions_(reactions) {}
  void operator()(const std::string& line) const {
    journal_.push_back(line);
    if (const auto found = reactions_.find(line); found != reactions_.end()) {
      const auto reaction = found->second;  // it may take itself away
      reaction();
    }
  }

 private:
  Journal& journal_;
  Reactions& reactions_;
};

template <class Base>
class Noting : public Base {
 public:
  template <class... Arguments>
  Noting(std::string name, Notes notes, Arguments... arguments)
      : Base(arguments...), name_(std::move(name)), notes_(notes) {}

  void ConfdConnected(ELEM_CONFD_PHASE_ET phase) override {
    notes_(name_ + " connected " + std::to_string(phase));
  }
  void ConfdDisconnected() override { notes_(name_ + " disconnected"); }

  VelConfdInterface* Connection() const { return this->confd_; }

 protected:
  std::string name_;
  Notes notes_;
};

// Of every point: a hash that no int holds, though the C API takes one.
inline constexpr std::uint32_t kNamespace = 4'000'000'007;

class NotingConfig : public Noting<velconfd::ConfigHandler> {
 public:
  using Noting::Noting;

  // Points of MEPs, MAs and MDs in this order.
  void AddPoint(const char* path, int priority = 0) {
    points_.push_back(
        {priority, kNamespace, path, 0,
         [this](confd_hkeypath* keypath, confd_iter_op op, confd_value* old_value,
                confd_value* new_value) { return Changed(*keypath, op, old_value, new_value); }});
  }

  void LoadInitialConfig(int socket) override {
    load_socket = socket;
    notes_(name_ + " load");
  }
  int ApplyInitialConfig() override {
    notes_(name_ + " apply initial");
    return apply_result;
  }
  void StartCommit() override { notes_(name_ + " start"); }
  int ApplyCommitConfig() override {
    notes_(name_ + " apply");
    return apply_result;
  }
  const std::vector<velconfd::SubscriptionPoint>& GetSubscriptionPoints() const override {
    return points_;
  }

  int load_socket = -1;
  int apply_result = 0;

 private:
  confd_iter_ret Changed(const confd_hkeypath& keypath, confd_iter_op op,
                         const confd_value* old_value, const confd_value* new_value) const {
    static const std::map<confd_iter_op, std::string> kSigns = {
        {MOP_CREATED, "+"}, {MOP_DELETED, "-"}, {MOP_MODIFIED, "~"}, {MOP_VALUE_SET, "="}};
    std::string line = kSigns.at(op) + " " + Print(keypath);
    if (old_value != nullptr) {
      line += " from " + std::to_string(CONFD_GET_INT32(old_value));
    }
    if (new_value != nullptr) {
      line += " to " + std::to_string(CONFD_GET_INT32(new_value));
    }
    notes_(line);
    return ITER_RECURSE;
  }

  std::vector<velconfd::SubscriptionPoint> points_;
};

class NotingAction : public Noting<velconfd::ActionHandler> {
 public:
  using Noting::Noting;
  const char* GetActionPoint() const override { return "act"; }
  int ActionCb(confd_user_info* user, xml_tag* tag, confd_hkeypath_t*, confd_tag_value_t*,
               int nparams) override {
    notes_(name_ + " " + std::to_string(tag->tag) + " for " + user->username + " with " +
           std::to_string(nparams));
    return result;
  }

  int result = CONFD_OK;
};

class NotingCallpoint : public velconfd::DataHandler::Callpoint {
 public:
  NotingCallpoint(std::string name, Notes notes) : name_(std::move(name)), notes_(notes) {}
  const char* GetCallpoint() override { return name_.c_str(); }
  int GetElemCallback(confd_trans_ctx* transaction, confd_hkeypath_t* keypath) override {
    notes_(name_ + " get " + std::to_string(transaction->thandle) + " " +
           std::to_string(keypath->len));
    return result;
  }
  int GetNextCallback(confd_trans_ctx* transaction, confd_hkeypath_t*, long next) override {
    notes_(name_ + " next " + std::to_string(transaction->thandle) + " " + std::to_string(next));
    return result;
  }

  int result = CONFD_OK;

 private:
  std::string name_;
  Notes notes_;
};

class NotingStatus : public Noting<velconfd::StatusHandler> {
 public:
  NotingStatus(std::string name, Notes notes) : Noting(name, notes, false, false, false) {}
  const std::vector<Callpoint*>& GetCallpoints() const override { return callpoints_; }

  int TransactionInit(confd_trans_ctx* transaction) override {
    notes_(name_ + " begins " + std::to_string(transaction->thandle));
    return init_result;
  }
  int TransactionFinish(confd_trans_ctx* transaction) override {
    notes_(name_ + " ends " + std::to_string(transaction->thandle));
    return finish_result;
  }
  void AddCallpoint(Callpoint& callpoint) { callpoints_.push_back(&callpoint); }

  int init_result = CONFD_OK;
  int finish_result = CONFD_OK;

 private:
  std::vector<Callpoint*> callpoints_;
};

struct GivenLists {
  std::vector<velconfd::ConfigHandler*> config;
  std::vector<velconfd::ActionHandler*> action;
  std::vector<velconfd::DataHandler*> data;
};

class FrameworkTest : public testing::Test {
 protected:
  FrameworkTest() {
    setenv("CFM_RUNTIME_DIR", directory_.Path().c_str(), 1);
    LogRecords().clear();
    config_.AddPoint("/config/oam/cfm/md/ma/mep/");
    config_.AddPoint("/config/oam/cfm/md/ma/");
    config_.AddPoint("/config/oam/cfm/md/");
    status_.AddCallpoint(statistics_);
    status_.AddCallpoint(level_);
  }

  // The framework keeps copies of the lists: they are empty afterwards.
  void Build() {
    given_ = {{&config_}, action_handlers_, data_handlers_};
    app_ = std::make_unique<velconfd::AppInterface>(&middleware_, TestCategory(), "cfm-app",
                                                    given_.config, given_.action, given_.data,
                                                    ELEM_CONFD_PHASE_2, 0);
    given_ = {};
  }

  // Dispatches until the journal holds the line so many times.
  bool Await(const std::string& line, long times = 1) {
    return middleware_.RunUntil(
        [&] { return std::count(journal_.begin(), journal_.end(), line) >= times; });
  }

  // A program that serves; its journal is empty.
  void Start() {
    agent_.Appear();
    Build();
    ASSERT_TRUE(Await("ready"));
    middleware_.RunDue();
    journal_.clear();
  }

  TemporaryDirectory directory_;
  Journal journal_;
  Reactions reactions_;
  Notes notes_{journal_, reactions_};
  FakeAgent agent_{directory_.Path(), journal_};
  velmw_handle middleware_{journal_};
  NotingConfig config_{"config", notes_};
  NotingAction action_{"action", notes_};
  NotingCallpoint statistics_{"statistics", notes_};
  NotingCallpoint level_{"level", notes_};
  NotingStatus status_{"status", notes_};
  std::vector<velconfd::ActionHandler*> action_handlers_{&action_};
  std::vector<velconfd::DataHandler*> data_handlers_{&status_};
  GivenLists given_;
  std::unique_ptr<velconfd::AppInterface> app_;
};

}  // namespace test

#endif
