// Random sequences of commits against the real agent and manager, with the
// daemon's configuration handler and the real framework in this process.
//
// After every commit: what the manager received is the mirror, and the mirror
// is what the configuration asks for. After every sequence: the mirror that
// grew commit by commit is the one that a fresh daemon loads.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <functional>

#include "cfm/client.h"
#include "cfm/records.h"
#include "config/config.h"
#include "element.h"
#include "front_end.h"
#include "hierarchy_text.h"
#include "manager_observer.h"
#include "random_configuration.h"
#include "velconfd/app_interface.h"
#include "velmidware_loop.h"

namespace {

using cfm::agent::Edit;
using test::ToText;
using test::VlanOrder;

constexpr int kSequences = 500;
constexpr int kCommitsPerSequence = 20;
constexpr std::uint32_t kFirstSeed = 1;

// The configuration path ignores status.
class NoStatus : public cfm::ReceivedInformationHandler {
 public:
  void HandleStatusLocalMep(std::string, std::string, unsigned short,
                            const cfm::st_lmep_status&) override {}
  void HandleStatusRemoteMep(std::string, std::string, unsigned short, unsigned short,
                             const cfm::st_rmep_status&) override {}
  void HandleStatisticsLocalMep(std::string, std::string, unsigned short,
                                const cfm::st_lmep_stats&) override {}
  void HandleStatisticsRemoteMep(std::string, std::string, unsigned short, unsigned short,
                                 const cfm::st_rmep_stats&) override {}
  void HandleStatisticsFinished() override {}
  void HandleRemovedLocalMep(std::string, std::string, unsigned short) override {}
  void HandleRemovedRemoteMep(std::string, std::string, unsigned short, unsigned short) override {}
  void HandleStatusInvalidated() override {}
};

// The real client, with a note of each mirror that goes through it.
class RecordingClient : public cfm::Client {
 public:
  using cfm::Client::Client;

  int ApplyConfiguration(const std::map<std::string, cfm::hierarchy_md>& domains) override {
    ++applied;
    mirror = domains;
    return forward ? cfm::Client::ApplyConfiguration(domains) : 0;
  }

  cfm::Hierarchy mirror;
  int applied = 0;
  bool forward = true;
};

// The daemon's configuration half: a handler and its connection to the agent.
struct Daemon {
  Daemon(velmw_t* middleware, zlog_category_s* log, cfm::Client* client, const char* name)
      : config(log, client),
        interface(middleware, log, name, {&config}, {}, {}, ELEM_CONFD_PHASE_2, 0) {}

  cfm::Config config;
  velconfd::AppInterface interface;
};

std::string OperationsText(const Edit& edit) {
  std::string text;
  for (const cfm::agent::EditOperation& operation : edit.operations()) {
    text += std::to_string(operation.operation()) + ' ' + operation.path() + ' ' +
            operation.value() + operation.document() + '\n';
  }
  return text;
}

class Property : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto& [name, value] : element_.Environment()) {
      setenv(name.c_str(), value.c_str(), 1);
    }
    std::ofstream(element_.Directory() / "interfaces") << test::InterfaceTableText();
    ASSERT_TRUE(element_.StartAgent().AwaitReady()) << element_.Agent().Log();
    ASSERT_TRUE(element_.StartManager().AwaitReady()) << element_.Manager().Log();
    middleware_ = velmw_init("property-test");
    log_ = velmw_trace_init(middleware_, "property-test");
    front_end_ = std::make_unique<test::FrontEnd>(element_.RuntimeDirectory());
    observer_ = std::make_unique<test::ManagerObserver>(velmw::EventLoop(middleware_),
                                                        element_.RuntimeDirectory());
    client_ = std::make_unique<RecordingClient>(middleware_, &no_status_);
    daemon_ = std::make_unique<Daemon>(middleware_, log_, client_.get(), "daemon");
    ASSERT_TRUE(RunUntil([this] { return client_->applied == 1; }));
    ASSERT_TRUE(RunUntil([this] { return observer_->Count() >= 2; }));
  }

  void TearDown() override {
    daemon_.reset();
    client_.reset();
    observer_.reset();
    velmw_finish(&middleware_);
  }

  // Runs the loop until `done`; false when patience runs out.
  bool RunUntil(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + test::kPatience;
    while (!done()) {
      if (std::chrono::steady_clock::now() > deadline ||
          sd_event_run(velmw::EventLoop(middleware_), 1'000'000) < 0) {
        return false;
      }
    }
    return true;
  }

  // Commits while the loop runs, because the commit waits for the daemon.
  cfm::agent::Reply Commit(const Edit& edit) {
    sd_event_source* source = nullptr;
    cfm::agent::Request request;
    *request.mutable_edit() = edit;
    front_end_->Send(request);
    bool replied = false;
    sd_event_add_io(
        velmw::EventLoop(middleware_), &source, front_end_->Fd(), EPOLLIN,
        [](sd_event_source* self, int, std::uint32_t, void* flag) {
          *static_cast<bool*>(flag) = true;
          return sd_event_source_set_enabled(self, SD_EVENT_OFF);
        },
        &replied);
    EXPECT_TRUE(RunUntil([&replied] { return replied; }));
    sd_event_source_unref(source);
    return front_end_->Receive();
  }

  // Commits and checks all three sides. A commit that only writes down what
  // holds by default anyway may pass the daemon by.
  void CommitAndCompare(const Edit& edit, const test::Configuration& expected) {
    const int applied_before = client_->applied;
    const int shown_before = observer_->Count();
    const std::string mirror_before = ToText(client_->mirror, VlanOrder::kAsSet);
    const std::string wanted = ToText(test::Expected(expected));
    const cfm::agent::Reply reply = Commit(edit);
    ASSERT_EQ(reply.errors_size(), 0)
        << reply.errors(0).message() << ' ' << reply.errors(0).path() << '\n'
        << OperationsText(edit);
    ASSERT_EQ(reply.warnings_size(), 0) << reply.warnings(0);
    const int applied = client_->applied - applied_before;
    ASSERT_LE(applied, 1);
    ASSERT_TRUE(applied == 1 || wanted == mirror_before) << OperationsText(edit);
    ASSERT_TRUE(RunUntil([&] { return observer_->Count() >= shown_before + applied; }));
    ASSERT_EQ(ToText(observer_->Latest()), ToText(client_->mirror));
    ASSERT_EQ(ToText(client_->mirror, VlanOrder::kAsSet), wanted) << OperationsText(edit);
  }

  // The mirror of a daemon that starts now.
  cfm::Hierarchy LoadAfresh() {
    const cfm::Hierarchy grown = client_->mirror;
    const int applied = client_->applied;
    client_->forward = false;
    {
      Daemon fresh(middleware_, log_, client_.get(), "fresh");
      EXPECT_TRUE(RunUntil([&] { return client_->applied == applied + 1; }));
    }
    client_->forward = true;
    AwaitOneSubscriber();
    return std::exchange(client_->mirror, grown);
  }

  // Until the agent has seen that the fresh daemon is gone, the next commit
  // would announce itself to it too, and warn that it was lost.
  void AwaitOneSubscriber() {
    test::FrontEnd watcher(element_.RuntimeDirectory());
    cfm::agent::Request watch;
    watch.mutable_watch_status();
    watcher.Send(watch);
    while (watcher.Receive().status().subscribers_size() > 1) {
    }
  }

  test::Element element_;
  velmw_t* middleware_ = nullptr;
  zlog_category_s* log_ = nullptr;
  NoStatus no_status_;
  std::unique_ptr<test::FrontEnd> front_end_;
  std::unique_ptr<test::ManagerObserver> observer_;
  std::unique_ptr<RecordingClient> client_;
  std::unique_ptr<Daemon> daemon_;
};

TEST_F(Property, TheMirrorThatGrewIsTheMirrorThatAFreshDaemonLoads) {
  for (std::uint32_t seed = kFirstSeed; seed < kFirstSeed + kSequences; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    test::RandomConfiguration random(seed);
    for (int commit = 0; commit < kCommitsPerSequence; ++commit) {
      SCOPED_TRACE("commit " + std::to_string(commit));
      const Edit edit = random.NextCommit();
      CommitAndCompare(edit, random.Current());
      if (HasFatalFailure()) {
        return;
      }
    }
    ASSERT_EQ(ToText(LoadAfresh(), VlanOrder::kAsSet), ToText(client_->mirror, VlanOrder::kAsSet));
    CommitAndCompare(random.Clear(), random.Current());
    if (HasFatalFailure()) {
      return;
    }
  }
}

}  // namespace
