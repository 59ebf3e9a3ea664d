#include "fake_middleware.h"

#include <gtest/gtest.h>
#include <zlog.h>

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr std::uint64_t kLongUsec = 10'000'000;
char category;  // only its address is used

}  // namespace

velmw_handle::velmw_handle(test::Journal& notes) : journal(notes) {
  EXPECT_GE(sd_event_new(&loop), 0);
}
velmw_handle::~velmw_handle() {
  sd_event_unref(loop);
}

bool velmw_handle::RunUntil(const std::function<bool()>& done) {
  while (!done()) {
    if (sd_event_run(loop, kLongUsec) <= 0) {
      return false;
    }
  }
  return true;
}

void velmw_handle::RunDue() {
  while (sd_event_run(loop, 0) > 0) {
  }
}

namespace velmw {

sd_event* EventLoop(velmw_t* handle) {
  if (handle == nullptr) {
    throw std::runtime_error("no middleware");
  }
  return handle->loop;
}

void EndLoopWithError(velmw_t* handle, const char* reason) {
  handle->journal.push_back("end of loop");
  handle->end_reason = reason;
}

void NotifyReady(velmw_t* handle) {
  handle->journal.push_back("ready");
}

void AnnounceAgentState(velmw_t* handle, AgentState state) {
  handle->journal.push_back(state == AgentState::kUp ? "agent up" : "agent down");
}

}  // namespace velmw

namespace test {

std::vector<LogRecord>& LogRecords() {
  static std::vector<LogRecord> records;
  return records;
}

zlog_category_s* TestCategory() {
  return reinterpret_cast<zlog_category_s*>(&category);
}

}  // namespace test

void zlog(zlog_category_t* to, const char*, size_t, const char*, size_t, long, int level,
          const char* format, ...) {
  EXPECT_EQ(to, test::TestCategory());
  char text[500];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  test::LogRecords().push_back({level, text});
}
