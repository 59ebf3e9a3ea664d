#include "limid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "temporary_directory.h"

namespace {

using testing::HasSubstr;

class Limid : public testing::Test {
 protected:
  void SetUp() override { setenv("CFM_INTERFACES", path_.c_str(), 1); }
  void TearDown() override { unsetenv("CFM_INTERFACES"); }

  // A new file takes the place of the old one, as editors and packages do it.
  void Write(const std::string& text) {
    const std::filesystem::path fresh = path_.native() + ".new";
    std::ofstream(fresh) << text;
    std::filesystem::rename(fresh, path_);
  }

  static std::optional<std::uint32_t> Of(const char* name) {
    std::uint32_t limid = 4711;
    const int result = limid_from_intfname(&limid, name);
    if (result == 0) {
      return limid;
    }
    EXPECT_EQ(result, -1);
    EXPECT_EQ(limid, 4711U) << "changed although there is no such interface";
    return std::nullopt;
  }

  test::TemporaryDirectory directory_;
  std::filesystem::path path_ = directory_.Path() / "interfaces";
};

TEST_F(Limid, IsThatOfTheTable) {
  Write("eth0 17 linux\nwire-a 18 wire /run/a\n");
  EXPECT_EQ(Of("eth0"), 17U);
  EXPECT_EQ(Of("wire-a"), 18U);
  EXPECT_EQ(Of("wire-b"), std::nullopt);
}

TEST_F(Limid, FollowsATableThatIsReplaced) {
  Write("eth0 17 linux\n");
  EXPECT_EQ(Of("eth0"), 17U);
  Write("eth0 18 linux\n");
  EXPECT_EQ(Of("eth0"), 18U);
}

TEST_F(Limid, FollowsATableThatGrows) {
  Write("eth0 17 linux\n");
  EXPECT_EQ(Of("eth1"), std::nullopt);
  std::ofstream(path_, std::ios::app) << "eth1 18 linux\n";
  EXPECT_EQ(Of("eth1"), 18U);
}

TEST_F(Limid, OfAMissingTableIsReportedOnceUntilItComes) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Of("eth0"), std::nullopt);
  EXPECT_EQ(Of("eth0"), std::nullopt);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            std::string(program_invocation_short_name) +
                ": no logical interface ids: read interface table '" + path_.native() +
                "': No such file or directory\n");
  Write("eth0 17 linux\n");
  EXPECT_EQ(Of("eth0"), 17U);
}

TEST_F(Limid, OfABrokenTableIsReportedOnceUntilItIsRepaired) {
  Write("eth0 0 linux\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(Of("eth0"), std::nullopt);
  EXPECT_EQ(Of("eth1"), std::nullopt);
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_THAT(text, HasSubstr(path_.native() + ":1: logical interface id '0'"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
  Write("eth0 17 linux\n");
  EXPECT_EQ(Of("eth0"), 17U);
}

}  // namespace
