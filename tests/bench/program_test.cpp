// The program with the real daemons, at the smallest size.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "process.h"
#include "temporary_directory.h"

namespace {

using test::CommandResult;
using testing::ContainsRegex;
using testing::HasSubstr;

TEST(BenchProgram, TakesEveryFigureOfASmallElement) {
  const test::TemporaryDirectory directory;
  const std::string json = directory.Path() / "figures.json";
  const CommandResult run = test::Run({CFM_BENCH, "--quick", "--sizes", "20", "--json", json});
  ASSERT_EQ(run.status, 0) << run.error;
  for (const char* name :
       {"commit.new.applied", "commit.new.returned", "commit.leaf.applied", "commit.leaf.returned",
        "commit.delete-ma.applied", "commit.delete-ma.returned", "restart.applied",
        "cpu.leaf.cfm-app", "cpu.leaf.cfm-managerd", "status.update ", "status.updates ",
        "status.wipe", "read.computed-leaf", "read.statistics-cached", "read.statistics-delayed",
        "read.table", "memory.resident.cfm-app", "idle.wakeups.agentd"}) {
    EXPECT_THAT(run.output, HasSubstr(std::string("\n") + name)) << name;
  }
  std::ifstream file(json);
  const std::string written(std::istreambuf_iterator<char>(file), {});
  EXPECT_THAT(written, HasSubstr(R"("name": "read.table", "n": 20, "unit": "ms")"));
}

TEST(BenchProgram, SaysWhichSizesThereAre) {
  const CommandResult run = test::Run({CFM_BENCH, "--sizes", "30"});
  EXPECT_NE(run.status, 0);
  EXPECT_THAT(run.output + run.error, ContainsRegex("30 records.*multiple of 20 from 20 to 8180"));
}

}  // namespace
