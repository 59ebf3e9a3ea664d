// Fakes of the platform at the link seam: what the daemon did to the platform,
// in order, and what the platform answers.
#ifndef CFM_TESTS_DAEMON_FAKE_PLATFORM_H
#define CFM_TESTS_DAEMON_FAKE_PLATFORM_H

#include <functional>
#include <string>
#include <vector>

struct velmw_handle;
typedef struct velmw_handle velmw_t;
struct zlog_category_s;

namespace fake {

// Forgets everything; every test starts with it.
void Reset();

// What the daemon did to the platform, in order: calls of the middleware and
// the libraries, records of the log as "zlog text", operational writes and
// replies, and what of the framework's is built and destroyed.
std::vector<std::string>& Events();
void Event(const std::string& event);

// The handle and the category that the fakes hand out.
velmw_t* Middleware();
zlog_category_s* Category();

struct LogRecord {
  std::string file;
  std::string function;
  long line;
  int level;
  std::string text;  // begins with "(in another category) " where that is so
};
std::vector<LogRecord>& Logs();
// Called after each record.
void OnLog(std::function<void(const LogRecord&)> action);
// The records as "level file function: text".
std::vector<std::string> LogTexts();

struct Fault {
  int severity;
  std::string function;
  std::string file;
  int line;
  std::string message;
  bool padded_with_zeros;  // the 300 bytes of the message's buffer
};
std::vector<Fault>& Faults();

// What sysinfo tells; 0 at first.
void SetUptime(long seconds);
// Lets sysinfo fail from now on.
void FailUptime();

// Stands for velmw_loop_while; the default returns 0.
using Loop = std::function<int(velmw_t* handle, bool* run)>;
void SetLoop(Loop loop);

// Called inside google::protobuf::ShutdownProtobufLibrary.
void OnProtobufShutdown(std::function<void()> action);

}  // namespace fake

#endif
