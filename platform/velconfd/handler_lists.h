// The handlers of a program, as AppInterface was given them. All borrowed.
#ifndef VELCONFD_HANDLER_LISTS_H
#define VELCONFD_HANDLER_LISTS_H

#include <vector>

#include "velconfd/handlers.h"

namespace velconfd {

struct HandlerLists {
  std::vector<ConfigHandler*> config;
  std::vector<ActionHandler*> action;
  std::vector<DataHandler*> data;

  // In the order in which they are told of the connection.
  std::vector<BaseHandler*> All() const {
    std::vector<BaseHandler*> all(config.begin(), config.end());
    all.insert(all.end(), action.begin(), action.end());
    all.insert(all.end(), data.begin(), data.end());
    return all;
  }

  // Whether there is anything to register with the agent.
  bool HasAnswers() const { return !action.empty() || !data.empty(); }
};

}  // namespace velconfd

#endif
