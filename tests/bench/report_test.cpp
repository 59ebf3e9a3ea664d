#include "report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace bench {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

RoundTrip TenAndHundred() {
  return {.same_core = Summarize({10}), .two_cores = Summarize({100})};
}

TEST(Report, ShowsATimeInRoundTripsToo) {
  std::ostringstream out;
  Report report(out, {{"cpu", "a chip"}}, TenAndHundred());
  report.AddTimes("commit.leaf.applied", 100, Unit::kMilliseconds, {0.002, 0.001, 0.004});
  EXPECT_THAT(out.str(), HasSubstr("# cpu: a chip\n"));
  EXPECT_THAT(out.str(), ContainsRegex("commit.leaf.applied +100 +2.000 +1.000 +4.000 ms +3 "
                                       "+200.0 +20.00\n"));
}

TEST(Report, WhatIsNoTimeHasNoRoundTrips) {
  std::ostringstream out;
  Report report(out, {}, TenAndHundred());
  report.Add("memory.resident.agentd", 100, Unit::kMebibytes, {7});
  EXPECT_THAT(out.str(), ContainsRegex("7.000 +7.000 +7.000 MiB +1 +\n"));
}

TEST(Report, TheJsonHasEverything) {
  std::ostringstream out;
  Report report(out, {{"cpu", "a \"chip\""}}, TenAndHundred());
  report.Add("status.updates", 100, Unit::kPerSecond, {5000});
  const std::string json = report.Json();
  EXPECT_THAT(json, HasSubstr(R"("cpu": "a \"chip\"")"));
  EXPECT_THAT(json,
              HasSubstr(R"("same_core": {"median": 10, "min": 10, "max": 10, "samples": 1})"));
  EXPECT_THAT(json, HasSubstr(R"({"name": "status.updates", "n": 100, "unit": "1/s", )"
                              R"("median": 5000, "min": 5000, "max": 5000, "samples": 1})"));
  EXPECT_THAT(json, HasSubstr(R"("verdict": "not measured")"));
}

TEST(Report, OneCoreAloneIsShownAlone) {
  std::ostringstream out;
  Report report(out, {}, {.same_core = Summarize({10}), .two_cores = std::nullopt});
  report.AddTimes("read.table", 100, Unit::kMilliseconds, {0.001});
  EXPECT_THAT(out.str(), Not(HasSubstr("two cores:")));
  EXPECT_THAT(report.Json(), Not(HasSubstr("two_cores")));
}

TEST(Report, AFileThatCannotBeWrittenIsNamed) {
  std::ostringstream out;
  const Report report(out, {}, TenAndHundred());
  try {
    report.WriteJson("/nowhere/figures.json");
    FAIL() << "no error";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("/nowhere/figures.json"));
  }
}

}  // namespace
}  // namespace bench
