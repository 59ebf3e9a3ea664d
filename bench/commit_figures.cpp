// The commit that fills an empty element.
#include "commit_samples.h"
#include "figures.h"
#include "measured_element.h"
#include "requests.h"

namespace bench {

void MeasureNewCommits(const Layout& layout, const Repetitions& times, Report& report) {
  const cfm::agent::Request commit = CommitDocument(layout.Document());
  CommitSamples samples;
  for (int run = 0; run < times.new_commits; ++run) {
    MeasuredElement element;
    samples.Add(element.Commit(commit));
  }
  samples.AddTo(report, "commit.new", layout.Records());
}

}  // namespace bench
