// What a commit of one leaf costs follows the change and not the tree:
// instructions counted by callgrind, so that the result is the same everywhere.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "process.h"
#include "temporary_directory.h"

namespace agentd::test {
namespace {

// Of the commit, without its part on the disk.
std::uint64_t Instructions(const std::string& records) {
  const ::test::TemporaryDirectory directory;
  const std::string out = (directory.Path() / "callgrind.out").native();
  const auto result =
      ::test::Run({"valgrind", "--tool=callgrind", "--instr-atstart=no", "--collect-atstart=no",
                   "--toggle-collect=measured_commit", "--toggle-collect=agentd::Store::Commit*",
                   "--callgrind-out-file=" + out, COMMIT_COST, directory.Path(), records});
  EXPECT_EQ(result.status, 0) << result.error;
  std::ifstream file(out);
  std::string word;
  std::uint64_t instructions = 0;
  while (file >> word) {
    if (word == "totals:" || word == "summary:") {
      file >> instructions;
    }
  }
  return instructions;
}

TEST(CommitCost, OfOneLeafHardlyGrowsWithTheConfiguration) {
  const std::uint64_t small = Instructions("100");
  const std::uint64_t large = Instructions("8000");
  RecordProperty("instructions_at_100", std::to_string(small));
  RecordProperty("instructions_at_8000", std::to_string(large));
  EXPECT_GT(small, 10000U);  // something was counted
  EXPECT_LE(large * 2, small * 3) << large << " instructions at 8000, " << small << " at 100";
}

}  // namespace
}  // namespace agentd::test
