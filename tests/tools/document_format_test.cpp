#include "core/document_format.h"

#include <gtest/gtest.h>

namespace cfmctl {
namespace {

TEST(DocumentFormat, TheContentDecides) {
  EXPECT_EQ(GuessFormat("-", " \r\n<config/>"), DocumentFormat::kXml);
  EXPECT_EQ(GuessFormat("x.xml", "\n{}"), DocumentFormat::kJson);
  EXPECT_EQ(GuessFormat("x.json", "<config/>"), DocumentFormat::kXml);
  EXPECT_EQ(GuessFormat("-", "\xef\xbb\xbf{}"), DocumentFormat::kJson);
}

TEST(DocumentFormat, TheNameDecidesWhereTheContentSaysNothing) {
  EXPECT_EQ(GuessFormat("x.xml", ""), DocumentFormat::kXml);
  EXPECT_EQ(GuessFormat("x.json", "hello"), DocumentFormat::kJson);
  EXPECT_EQ(GuessFormat("x.txt", "hello"), std::nullopt);
  EXPECT_EQ(GuessFormat("-", ""), std::nullopt);
}

}  // namespace
}  // namespace cfmctl
