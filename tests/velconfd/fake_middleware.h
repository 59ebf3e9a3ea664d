// The middleware and the log at the link seam: a real event loop, and notes of
// what is asked of them.
#ifndef TESTS_FAKE_MIDDLEWARE_H
#define TESTS_FAKE_MIDDLEWARE_H

#include <systemd/sd-event.h>
#include <velmidware_loop.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "fake_confd.h"

struct velmw_handle {
  explicit velmw_handle(test::Journal& journal);
  ~velmw_handle();

  velmw_handle(const velmw_handle&) = delete;
  velmw_handle& operator=(const velmw_handle&) = delete;

  // Dispatches until `done`; false when nothing happens for long.
  bool RunUntil(const std::function<bool()>& done);
  // Dispatches what is due now, and stops.
  void RunDue();

  test::Journal& journal;
  sd_event* loop = nullptr;
  std::string end_reason;  // of EndLoopWithError
};

namespace test {

struct LogRecord {
  int level;
  std::string text;
};
std::vector<LogRecord>& LogRecords();
zlog_category_s* TestCategory();

}  // namespace test

#endif
