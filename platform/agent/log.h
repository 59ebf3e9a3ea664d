// The agent's log: one line per change of state, through zlog.
#ifndef AGENT_LOG_H
#define AGENT_LOG_H

#include <zlog.h>

namespace agentd {

// Category "agentd"; made at the first use.
zlog_category_t* LogCategory();

}  // namespace agentd

#define AGENT_LOG(level, ...)                                                     \
  zlog(agentd::LogCategory(), __FILE_NAME__, sizeof(__FILE_NAME__) - 1, __func__, \
       sizeof(__func__) - 1, __LINE__, level, __VA_ARGS__)
#define AGENT_LOG_INFO(...) AGENT_LOG(10, __VA_ARGS__)
#define AGENT_LOG_WARNING(...) AGENT_LOG(11, __VA_ARGS__)
#define AGENT_LOG_ERROR(...) AGENT_LOG(12, __VA_ARGS__)

#endif
