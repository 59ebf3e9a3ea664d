#include "log.h"

namespace agentd {

zlog_category_t* LogCategory() {
  static zlog_category_t* const category = zlog_get_category("agentd");
  return category;
}

}  // namespace agentd
