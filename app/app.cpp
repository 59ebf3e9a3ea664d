#include "app/app.h"

#include <vector>

#include "app/leak_checker.h"
#include "app/log.h"

namespace cfm {
namespace {

// Log tools tell these two records by their line numbers.
constexpr int kStartedLine = 19;
constexpr int kFinishedLine = 28;

// The framework's last argument; this is the only value in use.
constexpr int kAgentInterfaceOption = 0;

}  // namespace

App::App(velmw_t* middleware, const char* name, Client* client, StatusReceiver* receiver)
    : middleware_(middleware), log_(velmw_trace_init(middleware_, kApplicationName)) {
  config_.reset(new Config(log_, client));
  status_ = std::make_unique<Status>(log_, receiver, client);
  actions_ = std::make_unique<Actions>(log_, client, status_->GetStatisticsCallpoint());

  const std::vector<velconfd::ConfigHandler*> config_handlers{config_.get()};
  const std::vector<velconfd::ActionHandler*> action_handlers{actions_.get()};
  const std::vector<velconfd::DataHandler*> data_handlers{status_.get()};
  agent_interface_ = std::make_unique<velconfd::AppInterface>(
      middleware_, log_, name, config_handlers, action_handlers, data_handlers, ELEM_CONFD_PHASE_2,
      kAgentInterfaceOption);

  CFM_LOG_AT_LINE(kStartedLine, log_, kInformational, "The application is up and running");
}

// The framework goes first, so that nothing calls a handler any more; the
// actions go before the status handler, whose callpoint they hold.
App::~App() {
  agent_interface_.reset();
  actions_.reset();
  status_.reset();
  config_.reset();
  CFM_LOG_AT_LINE(kFinishedLine, log_, kInformational, "The application was finished");
}

// The process is about to end, and what the framework was given of the
// handler stays addressable until then.
void App::DestroyInPlace::operator()(Config* config) const {
  config->~Config();
  KeepOnPurpose(config);
}

}  // namespace cfm
