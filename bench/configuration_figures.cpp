// Changes of an element that is configured, and the start of the daemon on it.
#include "commit_samples.h"
#include "figures.h"
#include "measured_element.h"
#include "process_usage.h"
#include "requests.h"

namespace bench {
namespace {

// Commits of one leaf, each a change.
class LeafCommits {
 public:
  explicit LeafCommits(const Layout& layout) : path_(layout.LeafPath()) {}

  cfm::agent::Request Next() {
    value_ = value_ == 5000 ? 6000 : 5000;
    return CommitLeaf(path_, std::to_string(value_));
  }

 private:
  std::string path_;
  int value_ = 0;
};

void MeasureLeaf(MeasuredElement& element, const Layout& layout, int runs, Report& report) {
  LeafCommits commits(layout);
  CommitSamples samples;
  for (int run = 0; run < runs; ++run) {
    samples.Add(element.Commit(commits.Next()));
  }
  samples.AddTo(report, "commit.leaf", layout.Records());
}

// What follows the last event of a commit counts for the next one, so each
// sample is the mean of several.
void MeasureLeafCpu(MeasuredElement& element, const Layout& layout, int batches, Report& report) {
  constexpr int kCommits = 5;
  LeafCommits commits(layout);
  std::vector<double> agent;
  std::vector<double> daemon;
  std::vector<double> manager;
  std::vector<double> both;
  for (int batch = 0; batch < batches; ++batch) {
    const double agent_before = CpuSeconds(element.AgentPid());
    const double daemon_before = CpuSeconds(element.DaemonPid());
    const double manager_before = CpuSeconds(element.ManagerPid());
    for (int commit = 0; commit < kCommits; ++commit) {
      element.Commit(commits.Next());
    }
    agent.push_back((CpuSeconds(element.AgentPid()) - agent_before) / kCommits);
    daemon.push_back((CpuSeconds(element.DaemonPid()) - daemon_before) / kCommits);
    manager.push_back((CpuSeconds(element.ManagerPid()) - manager_before) / kCommits);
    both.push_back(daemon.back() + manager.back());
  }
  report.AddTimes("cpu.leaf.agentd", layout.Records(), Unit::kMilliseconds, agent);
  report.AddTimes("cpu.leaf.cfm-app", layout.Records(), Unit::kMilliseconds, daemon);
  report.AddTimes("cpu.leaf.cfm-managerd", layout.Records(), Unit::kMilliseconds, manager);
  report.AddTimes("cpu.leaf.both", layout.Records(), Unit::kMilliseconds, both);
}

void MeasureDeletion(MeasuredElement& element, const Layout& layout, int runs, Report& report) {
  const int ma = layout.Mas() / 2;
  CommitSamples samples;
  for (int run = 0; run < runs; ++run) {
    samples.Add(element.Commit(CommitDeletion(layout.MaPath(ma))));
    element.Commit(CommitDocument(layout.MaDocument(ma)));
    element.Settle(layout.Records());
  }
  samples.AddTo(report, "commit.delete-ma", layout.Records());
}

void MeasureRestart(MeasuredElement& element, const Layout& layout, int runs, Report& report) {
  std::vector<double> seconds;
  for (int run = 0; run < runs; ++run) {
    seconds.push_back(element.RestartDaemon());
    element.Settle(layout.Records());
  }
  report.AddTimes("restart.applied", layout.Records(), Unit::kMilliseconds, seconds);
}

}  // namespace

void MeasureConfiguration(const Layout& layout, const Repetitions& times, Report& report) {
  MeasuredElement element;
  element.Commit(CommitDocument(layout.Document()));
  element.Settle(layout.Records());
  MeasureLeaf(element, layout, times.leaf_commits, report);
  MeasureLeafCpu(element, layout, times.cpu_batches, report);
  MeasureDeletion(element, layout, times.deletions, report);
  MeasureRestart(element, layout, times.restarts, report);
}

}  // namespace bench
