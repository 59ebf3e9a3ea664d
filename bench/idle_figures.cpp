// The daemons at rest.
#include <map>
#include <thread>

#include "figures.h"
#include "measured_element.h"
#include "process_usage.h"
#include "requests.h"

namespace bench {
namespace {

struct DaemonSamples {
  std::vector<double> wake_ups;
  std::vector<double> cpu;
};

// Nothing can be awaited here: the window is time by its nature. The first one
// does not count: it sees the daemons go to sleep after the work before.
void MeasureRest(MeasuredElement& element, const Layout& layout, const Repetitions& times,
                 Report& report) {
  std::map<std::string, DaemonSamples> samples;
  for (int run = 0; run <= times.idle_windows; ++run) {
    std::map<std::string, std::pair<long, double>> before;
    for (const auto& [name, pid] : element.Daemons()) {
      before[name] = {WakeUps(pid), CpuSeconds(pid)};
    }
    const Clock::time_point start = Clock::now();
    std::this_thread::sleep_for(times.idle_window);
    const double window = SecondsSince(start);
    if (run == 0) {
      continue;
    }
    for (const auto& [name, pid] : element.Daemons()) {
      const auto [wake_ups, cpu] = before[name];
      samples[name].wake_ups.push_back(static_cast<double>(WakeUps(pid) - wake_ups) / window);
      samples[name].cpu.push_back((CpuSeconds(pid) - cpu) * 1000 / window);
    }
  }
  for (const auto& [name, of_daemon] : samples) {
    report.Add("idle.wakeups." + name, layout.Records(), Unit::kPerSecond, of_daemon.wake_ups);
    report.Add("idle.cpu." + name, layout.Records(), Unit::kMillisecondsPerSecond, of_daemon.cpu);
  }
}

void MeasureMemory(MeasuredElement& element, const Layout& layout, Report& report) {
  for (const auto& [name, pid] : element.Daemons()) {
    const Memory memory = MemoryOf(pid);
    report.Add("memory.resident." + name, layout.Records(), Unit::kMebibytes, {memory.resident});
    report.Add("memory.anonymous." + name, layout.Records(), Unit::kMebibytes, {memory.anonymous});
  }
}

}  // namespace

void MeasureIdle(const Layout& layout, const Repetitions& times, Report& report) {
  MeasuredElement element;
  element.Commit(CommitDocument(layout.Document()));
  element.Settle(layout.Records());
  MeasureMemory(element, layout, report);
  MeasureRest(element, layout, times, report);
}

}  // namespace bench
