#include "round_trip.h"

#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

#include "clock.h"
#include "unique_fd.h"

namespace bench {
namespace {

// About a small protobuf message in its frame.
constexpr std::size_t kMessageBytes = 64;
constexpr int kBatches = 15;
constexpr int kTripsPerBatch = 1000;

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(errno, std::system_category(), what);
}

void BindTo(int core) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(core, &cores);
  if (sched_setaffinity(0, sizeof cores, &cores) != 0) {
    Fail("bind to a core");
  }
}

// Puts the cores that this process may use back as they were.
class Affinity {
 public:
  Affinity() {
    if (sched_getaffinity(0, sizeof before_, &before_) != 0) {
      Fail("read the cores that may be used");
    }
  }
  ~Affinity() { sched_setaffinity(0, sizeof before_, &before_); }

  Affinity(const Affinity&) = delete;
  Affinity& operator=(const Affinity&) = delete;

  std::vector<int> Cores() const {
    std::vector<int> cores;
    for (int core = 0; core < CPU_SETSIZE; ++core) {
      if (CPU_ISSET(core, &before_)) {
        cores.push_back(core);
      }
    }
    return cores;
  }

 private:
  cpu_set_t before_{};
};

// False at the end of the stream. The messages are small enough to come whole.
bool Receive(int fd) {
  char message[kMessageBytes];
  return recv(fd, message, sizeof message, MSG_WAITALL) == static_cast<ssize_t>(sizeof message);
}

bool Send(int fd) {
  const char message[kMessageBytes] = {};
  return send(fd, message, sizeof message, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof message);
}

// A child process that sends back what it is sent, for as long as it lives.
class Echo {
 public:
  explicit Echo(int core) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
      Fail("socketpair");
    }
    ipc::UniqueFd there(ends[1]);
    here_ = ipc::UniqueFd(ends[0]);
    child_ = fork();
    if (child_ < 0) {
      Fail("fork");
    }
    if (child_ == 0) {
      here_ = {};
      Run(there.Get(), core);
    }
  }
  ~Echo() {
    here_ = {};
    waitpid(child_, nullptr, 0);
  }

  Echo(const Echo&) = delete;
  Echo& operator=(const Echo&) = delete;

  void Trip() const {
    if (!Send(here_.Get()) || !Receive(here_.Get())) {
      Fail("round trip");
    }
  }

 private:
  [[noreturn]] static void Run(int fd, int core) {
    try {
      BindTo(core);
      while (Receive(fd) && Send(fd)) {
      }
    } catch (const std::system_error&) {
      _exit(1);
    }
    _exit(0);
  }

  ipc::UniqueFd here_;
  pid_t child_ = -1;
};

Summary Measure(int core, int core_of_echo) {
  BindTo(core);
  const Echo echo(core_of_echo);
  echo.Trip();
  std::vector<double> microseconds;
  for (int batch = 0; batch < kBatches; ++batch) {
    const Clock::time_point start = Clock::now();
    for (int trip = 0; trip < kTripsPerBatch; ++trip) {
      echo.Trip();
    }
    microseconds.push_back(SecondsSince(start) * 1e6 / kTripsPerBatch);
  }
  return Summarize(std::move(microseconds));
}

}  // namespace

RoundTrip MeasureRoundTrip() {
  const Affinity affinity;
  const std::vector<int> cores = affinity.Cores();
  RoundTrip result{.same_core = Measure(cores[0], cores[0]), .two_cores = std::nullopt};
  if (cores.size() > 1) {
    result.two_cores = Measure(cores[0], cores[1]);
  }
  return result;
}

}  // namespace bench
