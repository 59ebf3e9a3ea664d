#include "samples.h"

#include <gtest/gtest.h>

#include "number_text.h"

namespace bench {
namespace {

TEST(Samples, AnOddNumberHasAMiddle) {
  const Summary summary = Summarize({5, 1, 100});
  EXPECT_EQ(summary.median, 5);
  EXPECT_EQ(summary.min, 1);
  EXPECT_EQ(summary.max, 100);
  EXPECT_EQ(summary.count, 3U);
}

TEST(Samples, TheMedianOfAnEvenNumberIsBetweenTheTwoInTheMiddle) {
  EXPECT_EQ(Summarize({4, 1, 3, 100}).median, 3.5);
}

TEST(Samples, NoSamplesAreAnError) {
  EXPECT_THROW(Summarize({}), std::invalid_argument);
}

TEST(NumberText, ShowsTheDigitsThatCount) {
  EXPECT_EQ(NumberText(0), "0");
  EXPECT_EQ(NumberText(0.01234), "0.01234");
  EXPECT_EQ(NumberText(1.23456), "1.235");
  EXPECT_EQ(NumberText(123.456), "123.5");
  EXPECT_EQ(NumberText(123456.7), "123457");
}

}  // namespace
}  // namespace bench
