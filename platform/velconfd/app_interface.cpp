// Gives the handlers their connection object, and takes it back.
#include "velconfd/app_interface.h"

#include "agent_link.h"

namespace velconfd {

class AppInterface::Impl {
 public:
  Impl(velmw_t* middleware, zlog_category_s* log, const char* name, const HandlerLists& handlers,
       ELEM_CONFD_PHASE_ET phase)
      : handlers_(handlers.All()), link_(middleware, log, name, handlers, phase) {
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
                                   HandlerLists{config_handlers, action_handlers, data_handlers},
                                   phase)) {}

AppInterface::~AppInterface() = default;

}  // namespace velconfd
