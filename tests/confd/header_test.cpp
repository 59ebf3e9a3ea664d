#include <gtest/gtest.h>

#include "c_program.h"

TEST(ConfdHeaders, ServeACProgram) {
  EXPECT_STREQ(PrintKeypathFromC(), "/[12]{-7}");
}
