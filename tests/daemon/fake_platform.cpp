#include "daemon/fake_platform.h"

#include <google/protobuf/stubs/common.h>
#include <sys/sysinfo.h>
#include <velmidware.h>
#include <zlog.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "daemon/fake_client.h"
#include "daemon/fake_confd.h"
#include "daemon/fake_element.h"
#include "daemon/fake_velconfd.h"

namespace fake {
namespace {

constexpr int kMessageSize = 300;

struct State {
  std::vector<std::string> events;
  std::vector<LogRecord> logs;
  std::function<void(const LogRecord&)> on_log = [](const LogRecord&) {};
  std::vector<Fault> faults;
  long uptime = 0;
  bool uptime_fails = false;
  Loop loop = [](velmw_t*, bool*) { return 0; };
  std::function<void()> protobuf_shutdown = [] {};
};

State& Current() {
  static State state;
  return state;
}

char middleware_storage;
char category_storage;

}  // namespace

void Reset() {
  Current() = State{};
  ResetClient();
  ResetConfd();
  ResetElement();
  ResetVelconfd();
}

std::vector<std::string>& Events() {
  return Current().events;
}
void Event(const std::string& event) {
  Current().events.push_back(event);
}

velmw_t* Middleware() {
  return reinterpret_cast<velmw_t*>(&middleware_storage);
}
zlog_category_s* Category() {
  return reinterpret_cast<zlog_category_s*>(&category_storage);
}

std::vector<LogRecord>& Logs() {
  return Current().logs;
}

void OnLog(std::function<void(const LogRecord&)> action) {
  Current().on_log = std::move(action);
}

std::vector<std::string> LogTexts() {
  std::vector<std::string> texts;
  for (const LogRecord& record : Logs()) {
    texts.push_back(std::to_string(record.level) + " " + record.file + " " + record.function +
                    ": " + record.text);
  }
  return texts;
}

std::vector<Fault>& Faults() {
  return Current().faults;
}
void SetUptime(long seconds) {
  Current().uptime = seconds;
}
void FailUptime() {
  Current().uptime_fails = true;
}
void SetLoop(Loop loop) {
  Current().loop = std::move(loop);
}
void OnProtobufShutdown(std::function<void()> action) {
  Current().protobuf_shutdown = std::move(action);
}

}  // namespace fake

using fake::Current;
using fake::Event;

extern "C" {

// Both lengths are used: a wrong one shows in the name.
void zlog(zlog_category_t* category, const char* file, size_t filelen, const char* func,
          size_t funclen, long line, int level, const char* format, ...) {
  std::array<char, 1024> text{};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  const char* const place = category == fake::Category() ? "" : "(in another category) ";
  const fake::LogRecord record{std::string(file, filelen), std::string(func, funclen), line, level,
                               std::string(place) + text.data()};
  Current().logs.push_back(record);
  Event("zlog " + record.text);
  Current().on_log(record);
}

// Instead of the C library's. A failure leaves something that must not be used.
int sysinfo(struct sysinfo* info) noexcept {
  *info = {};
  info->uptime = Current().uptime_fails ? 4711 : Current().uptime;
  return Current().uptime_fails ? -1 : 0;
}

velmw_t* velmw_init(const char* application_name) {
  Event(std::string("velmw_init ") + application_name);
  return fake::Middleware();
}

zlog_category_s* velmw_trace_init(velmw_t* handle, const char* name) {
  Event(std::string("velmw_trace_init ") + name);
  return handle == fake::Middleware() ? fake::Category() : nullptr;
}

int velmw_loop_while(velmw_t* handle, bool* run) {
  Event("velmw_loop_while");
  return Current().loop(handle, run);
}

void velmw_finish(velmw_t** handle) {
  Event(*handle == fake::Middleware() ? "velmw_finish" : "velmw_finish of another handle");
  *handle = nullptr;
}

// Also on the error stream, where death tests look.
void velmw_gen_fault(int severity, const char* function, const char* file, int line,
                     const char* message) {
  const bool padded = std::all_of(message + std::strlen(message), message + fake::kMessageSize,
                                  [](char byte) { return byte == '\0'; });
  Current().faults.push_back({severity, function, file, line, message, padded});
  Event("velmw_gen_fault");
  std::fprintf(stderr, "fault severity=%d function=%s file=%s line=%d padded=%d message=[%s]\n",
               severity, function, file, line, padded ? 1 : 0, message);
}

void velmw_print_backtrace(void) {
  Event("velmw_print_backtrace");
  std::fprintf(stderr, "backtrace\n");
}

}  // extern "C"

namespace google::protobuf {

void ShutdownProtobufLibrary() {
  Event("ShutdownProtobufLibrary");
  Current().protobuf_shutdown();
}

}  // namespace google::protobuf
