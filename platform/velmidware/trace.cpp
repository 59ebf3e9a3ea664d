#include <zlog.h>

#include "velmidware.h"

zlog_category_s* velmw_trace_init(velmw_t* /*handle*/, const char* name) {
  static const int initialised = zlog_init(nullptr);
  return initialised == 0 ? zlog_get_category(name) : nullptr;
}
