// Whether what a read of status was told is right.
#ifndef TESTS_SYSTEM_STATUS_JUDGE_H
#define TESTS_SYSTEM_STATUS_JUDGE_H

#include <optional>
#include <string>
#include <vector>

#include "expected_status.h"
#include "status_record.h"

namespace test {

struct Answer {
  StatusRecord record;
  std::optional<RecordIdentity> identity;
  // It was whole before the read began, so nothing may be missing.
  bool is_settled = false;
};

// What was asked of each record.
struct Question {
  // Empty: all leaves.
  std::string leaf;
  ConfigurationHistory::Span versions;
  // Commits came in between, and the reply says so: each leaf may follow
  // another version.
  bool is_mixed = false;
};

// Computed leaves follow one version of the configuration and are there when
// it has the MEP; a record tells of a MEP that was configured since the last
// rest; no MEP has two records. Throws std::runtime_error saying what is wrong.
void CheckAnswers(const std::vector<Answer>& answers, const Question& question,
                  const ConfigurationHistory& history);

// At rest: the records are exactly those of the latest version, all leaves
// there.
void CheckAtRest(const std::vector<StatusRecord>& records, const ConfigurationHistory& history);

}  // namespace test

#endif
