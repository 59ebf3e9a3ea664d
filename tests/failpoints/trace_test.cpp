// What can be broken from outside is not what is installed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string Contents(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class Program : public testing::TestWithParam<const char*> {};

#ifdef CFM_FAIL_POINTS
constexpr bool kHasFailPoints = true;
#else
constexpr bool kHasFailPoints = false;
#endif

// Names of variables in the environment, of symbols and of points; the builds
// that have them show that they would be found.
TEST_P(Program, HoldsFailPointsOnlyInTheBuildForThem) {
  const std::string contents = Contents(GetParam());
  ASSERT_THAT(contents, testing::StartsWith("\x7f"
                                            "ELF"));
  for (const char* trace : {"CFM_FAIL_POINT", "9failpoint", "frame_send"}) {
    EXPECT_EQ(contents.find(trace) != std::string::npos, kHasFailPoints) << trace;
  }
}

INSTANTIATE_TEST_SUITE_P(Installed, Program,
                         testing::Values(AGENTD, CFM_APP, CFM_MANAGERD, CFMCTL));

}  // namespace
