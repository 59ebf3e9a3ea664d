#include "core/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace cfmctl {
namespace {

TEST(Utf8, IsWhatTheStandardCallsWellFormed) {
  for (const std::string text :
       {"", "east", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xee\x80\x80",
        "\xef\xbf\xbf", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf", "a\xc3\xbcz"}) {
    EXPECT_TRUE(IsUtf8(text)) << testing::PrintToString(text);
  }
}

TEST(Utf8, IsNothingElse) {
  for (const std::string text :
       {"\x80", "\xff", "\xc3", "\xc3(", "\xc0\xaf", "\xc1\xbf", "\xe0\x9f\xbf", "\xed\xa0\x80",
        "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "east\xe2\x82"}) {
    EXPECT_FALSE(IsUtf8(text)) << testing::PrintToString(text);
  }
}

}  // namespace
}  // namespace cfmctl
