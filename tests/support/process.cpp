#include "process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

extern char** environ;

namespace test {
namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

ipc::UniqueFd OpenNotifySocket(const std::filesystem::path& path) {
  ipc::UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  unlink(path.c_str());
  if (!fd || bind(fd.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    Fail("notification socket " + path.string());
  }
  return fd;
}

// The test's environment with some variables set.
class Environment {
 public:
  explicit Environment(const std::map<std::string, std::string>& added) {
    for (char** entry = environ; *entry != nullptr; ++entry) {
      const std::string text = *entry;
      if (added.count(text.substr(0, text.find('='))) == 0) {
        entries_.push_back(text);
      }
    }
    for (const auto& [name, value] : added) {
      entries_.push_back(name + "=" + value);
    }
  }
  std::vector<char*> Pointers() {
    std::vector<char*> pointers;
    for (std::string& entry : entries_) {
      pointers.push_back(entry.data());
    }
    pointers.push_back(nullptr);
    return pointers;
  }

 private:
  std::vector<std::string> entries_;
};

// What a child finds on its three standard streams.
struct Streams {
  int input;
  int output;
  int error;
};

pid_t Spawn(const std::vector<std::string>& command,
            const std::map<std::string, std::string>& environment, const Streams& streams) {
  std::vector<char*> arguments;
  for (const std::string& word : command) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  Environment variables(environment);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, streams.input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, streams.output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, streams.error, STDERR_FILENO);
  pid_t pid = -1;
  errno = posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(),
                       variables.Pointers().data());
  posix_spawn_file_actions_destroy(&actions);
  if (errno != 0) {
    Fail("cannot start " + command[0]);
  }
  return pid;
}

int ExitStatus(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int Milliseconds(std::chrono::steady_clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      deadline - std::chrono::steady_clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

ipc::UniqueFd OpenOrFail(const char* path, int flags) {
  ipc::UniqueFd fd(open(path, flags | O_CLOEXEC, 0600));
  if (!fd) {
    Fail(path);
  }
  return fd;
}

std::string ReadFrom(int fd) {
  std::string text;
  lseek(fd, 0, SEEK_SET);
  char buffer[4096];
  for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(n));
  }
  return text;
}

ipc::UniqueFd MemoryFile(const std::string& contents) {
  ipc::UniqueFd fd(memfd_create("stream", MFD_CLOEXEC));
  if (!fd ||
      write(fd.Get(), contents.data(), contents.size()) != static_cast<ssize_t>(contents.size())) {
    Fail("memory file");
  }
  lseek(fd.Get(), 0, SEEK_SET);
  return fd;
}

}  // namespace

Process::Process(const std::vector<std::string>& command, const Options& options)
    : notify_path_(options.directory / (options.name + ".notify")),
      log_path_(options.directory / (options.name + ".log")) {
  notify_ = OpenNotifySocket(notify_path_);
  const ipc::UniqueFd null = OpenOrFail("/dev/null", O_RDONLY);
  const ipc::UniqueFd log = OpenOrFail(log_path_.c_str(), O_WRONLY | O_CREAT | O_APPEND);
  std::map<std::string, std::string> environment = options.environment;
  environment["NOTIFY_SOCKET"] = notify_path_.string();
  pid_ = Spawn(command, environment, {null.Get(), log.Get(), log.Get()});
  pidfd_ = ipc::UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
  if (!pidfd_) {
    Fail("pidfd_open");
  }
}

Process::~Process() {
  if (!status_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  unlink(notify_path_.c_str());
}

bool Process::AwaitNotification(const std::string& wanted) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (true) {
    pollfd events[] = {{notify_.Get(), POLLIN, 0}, {pidfd_.Get(), POLLIN, 0}};
    const int ready = poll(events, 2, Milliseconds(deadline));
    if (ready == 0 || (ready < 0 && errno != EINTR)) {
      return false;
    }
    char message[512];
    for (ssize_t n; (n = recv(notify_.Get(), message, sizeof message, 0)) > 0;) {
      const std::string text(message, static_cast<std::size_t>(n));
      if (text.find(wanted) != std::string::npos) {
        return true;
      }
    }
    if (events[1].revents != 0) {
      return false;
    }
  }
}

bool Process::IsReady() {
  char message[512];
  for (ssize_t n; (n = recv(notify_.Get(), message, sizeof message, 0)) > 0;) {
    const std::string text(message, static_cast<std::size_t>(n));
    ready_ = ready_ || text.find("READY=1") != std::string::npos;
  }
  return ready_;
}

std::optional<int> Process::AwaitExit() {
  if (status_) {
    return status_;
  }
  pollfd event{pidfd_.Get(), POLLIN, 0};
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  int ready;
  do {
    ready = poll(&event, 1, Milliseconds(deadline));
  } while (ready < 0 && errno == EINTR);
  if (ready != 1) {
    return std::nullopt;
  }
  int status = 0;
  waitpid(pid_, &status, 0);
  status_ = ExitStatus(status);
  return status_;
}

std::optional<int> Process::Status() {
  int status = 0;
  if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) {
    status_ = ExitStatus(status);
  }
  return status_;
}

// Leaves the state to be seen by others.
bool Process::AwaitStop() const {
  siginfo_t state{};
  while (waitid(P_PID, static_cast<id_t>(pid_), &state, WSTOPPED | WEXITED | WNOWAIT) < 0) {
    if (errno != EINTR) {
      return false;
    }
  }
  return state.si_code == CLD_STOPPED;
}

void Process::Signal(int signal) {
  if (!status_) {
    kill(pid_, signal);
  }
}

void Process::Freeze() {
  Signal(SIGSTOP);
  AwaitStop();
}

std::optional<int> Process::Stop() {
  Signal(SIGTERM);
  return AwaitExit();
}

std::string Process::Log() const {
  std::ifstream file(log_path_);
  return {std::istreambuf_iterator<char>(file), {}};
}

int Process::CountInLog(const std::string& text) const {
  const std::string log = Log();
  int count = 0;
  for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
    ++count;
  }
  return count;
}

// What was written before the watch began is found at the first look.
bool Process::AwaitLog(const std::string& text, int times) const {
  const ipc::UniqueFd watch(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!watch || inotify_add_watch(watch.Get(), log_path_.c_str(), IN_MODIFY) < 0) {
    Fail("cannot watch " + log_path_.string());
  }
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (CountInLog(text) < times) {
    pollfd events[] = {{watch.Get(), POLLIN, 0}, {pidfd_.Get(), POLLIN, 0}};
    const int ready = poll(events, 2, Milliseconds(deadline));
    if (ready == 0 || (ready < 0 && errno != EINTR)) {
      return false;
    }
    if (events[1].revents != 0) {
      return CountInLog(text) >= times;
    }
    char buffer[4096];
    while (read(watch.Get(), buffer, sizeof buffer) > 0) {
    }
  }
  return true;
}

Process* AwaitFirst(const std::vector<Process*>& processes) {
  std::vector<pollfd> events;
  for (const Process* process : processes) {
    events.push_back({process->pidfd_.Get(), POLLIN, 0});
  }
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (poll(events.data(), events.size(), Milliseconds(deadline)) < 0 && errno == EINTR) {
  }
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (events[i].revents != 0) {
      return processes[i];
    }
  }
  return nullptr;
}

CommandResult Run(const std::vector<std::string>& command,
                  const std::map<std::string, std::string>& environment, const std::string& input) {
  const ipc::UniqueFd in = MemoryFile(input);
  const ipc::UniqueFd out = MemoryFile({});
  const ipc::UniqueFd error = MemoryFile({});
  const pid_t pid = Spawn(command, environment, {in.Get(), out.Get(), error.Get()});
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return {ExitStatus(status), ReadFrom(out.Get()), ReadFrom(error.Get())};
}

}  // namespace test
