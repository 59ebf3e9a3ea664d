// Reads of status and statistics.
#include <sys/sysinfo.h>

#include <stdexcept>

#include "figures.h"
#include "measured_element.h"
#include "requests.h"

namespace bench {
namespace {

long Uptime() {
  struct sysinfo info {};
  sysinfo(&info);
  return info.uptime;
}

void MeasureComputedLeaf(MeasuredElement& element, const Layout& layout, int runs, Report& report) {
  const cfm::agent::Request read = ReadStatus(element.LocalRecord() + "/level");
  std::vector<double> seconds;
  for (int run = 0; run < runs; ++run) {
    seconds.push_back(element.Time(read));
  }
  report.AddTimes("read.computed-leaf", layout.Records(), Unit::kMicroseconds, seconds);
}

// Statistics that were cleared have to be asked for.
void MeasureDelayed(MeasuredElement& element, const Layout& layout, int runs, Report& report) {
  const cfm::agent::Request read = ReadStatus(element.LocalRecord() + "/mep-ccms-sent");
  std::vector<double> seconds;
  for (int run = 0; run < runs; ++run) {
    element.Call(ClearStatistics());
    seconds.push_back(element.Time(read));
  }
  report.AddTimes("read.statistics-delayed", layout.Records(), Unit::kMilliseconds, seconds);
}

// The daemon answers from its cache in the second of uptime in which the
// statistics came and in the next one. They came after they were asked for, so
// a read that ends no later than in the second after that was from the cache.
void MeasureCached(MeasuredElement& element, const Layout& layout, int runs, Report& report) {
  constexpr int kAttempts = 100;
  const cfm::agent::Request read = ReadStatus(element.LocalRecord() + "/mep-ccms-sent");
  std::vector<double> seconds;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const long asked = Uptime();
    element.Call(ClearStatistics());
    element.Call(read);
    while (static_cast<int>(seconds.size()) < runs) {
      const double time = element.Time(read);
      if (Uptime() - asked > 1) {
        break;
      }
      seconds.push_back(time);
    }
    if (static_cast<int>(seconds.size()) == runs) {
      report.AddTimes("read.statistics-cached", layout.Records(), Unit::kMicroseconds, seconds);
      return;
    }
  }
  throw std::runtime_error("no statistics were in the cache long enough to be read from there");
}

int Records(const cfm::agent::Node& node) {
  int count = node.kind() == cfm::agent::Node::LIST_ENTRY ? 1 : 0;
  for (const cfm::agent::Node& child : node.children()) {
    count += Records(child);
  }
  return count;
}

// From an empty statistics cache.
void MeasureTable(MeasuredElement& element, const Layout& layout, int runs, Report& report) {
  const cfm::agent::Request read = ReadStatus("");
  std::vector<double> seconds;
  for (int run = 0; run < runs; ++run) {
    element.Call(ClearStatistics());
    const Clock::time_point start = Clock::now();
    const cfm::agent::Reply reply = element.Call(read);
    seconds.push_back(SecondsSince(start));
    if (Records(reply.node()) != layout.Records()) {
      throw std::runtime_error("the status table has " + std::to_string(Records(reply.node())) +
                               " records");
    }
  }
  report.AddTimes("read.table", layout.Records(), Unit::kMilliseconds, seconds);
}

}  // namespace

void MeasureReads(const Layout& layout, const Repetitions& times, Report& report) {
  MeasuredElement element;
  element.Commit(CommitDocument(layout.Document()));
  element.Settle(layout.Records());
  MeasureComputedLeaf(element, layout, times.reads, report);
  MeasureCached(element, layout, times.reads, report);
  MeasureDelayed(element, layout, times.delayed_reads, report);
  MeasureTable(element, layout, times.tables, report);
}

}  // namespace bench
