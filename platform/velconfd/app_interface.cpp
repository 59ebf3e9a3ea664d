// Gives the handlers their connection object, and takes it back.
#include "velconfd/app_interface.h"

#include "agent_link.h"

namespace velconfd {
namespace {

std::vector<BaseHandler*> All(const std::vector<ConfigHandler*>& config_handlers,
                              const std::vector<ActionHandler*>& action_handlers,
                              const std::vector<DataHandler*>& data_handlers) {
  std::vector<BaseHandler*> all(config_handlers.begin(), config_handlers.end());
  all.insert(all.end(), action_handlers.begin(), action_handlers.end());
  all.insert(all.end(), data_handlers.begin(), data_handlers.end());
  return all;
}

}  // namespace

class AppInterface::Impl {
 public:
  Impl(velmw_t* middleware, zlog_category_s* log, const char* name,
       const std::vector<BaseHandler*>& handlers,
       const std::vector<ConfigHandler*>& config_handlers, ELEM_CONFD_PHASE_ET phase)
      : handlers_(handlers), link_(middleware, log, name, handlers, config_handlers, phase) {
    Give(&link_.Interface());
  }
  ~Impl() { Give(nullptr); }

  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

 private:
  void Give(VelConfdInterface* confd) {
    for (BaseHandler* handler : handlers_) {
      handler->confd_ = confd;
    }
  }

  std::vector<BaseHandler*> handlers_;
  AgentLink link_;
};

AppInterface::AppInterface(velmw_t* middleware, zlog_category_s* log, const char* name,
                           const std::vector<ConfigHandler*>& config_handlers,
                           const std::vector<ActionHandler*>& action_handlers,
                           const std::vector<DataHandler*>& data_handlers,
                           ELEM_CONFD_PHASE_ET phase, int /*option*/)
    : impl_(std::make_unique<Impl>(middleware, log, name,
                                   All(config_handlers, action_handlers, data_handlers),
                                   config_handlers, phase)) {}

AppInterface::~AppInterface() = default;

}  // namespace velconfd
