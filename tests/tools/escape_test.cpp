#include "core/escape.h"

#include <gtest/gtest.h>

namespace cfmctl {
namespace {

TEST(Escape, ATerminalIsNotSteered) {
  EXPECT_EQ(Printable("a\x1b[2J\n\xe4~"), "a\\x1b[2J\\x0a\\xe4~");
}

TEST(Escape, JsonStringsStayInTheirQuotes) {
  EXPECT_EQ(JsonString("a\"b\\c/<>"), "\"a\\\"b\\\\c/<>\"");
  EXPECT_EQ(JsonString(std::string("\0\x1f\xff", 3)), "\"\\ufffd\\ufffd\\ufffd\"");
}

TEST(Escape, XmlTextHoldsNoMarkup) {
  EXPECT_EQ(XmlText("<a> & \"b\"]]>"), "&lt;a&gt; &amp; \"b\"]]&gt;");
  EXPECT_EQ(XmlText("\x01\x7f"), "&#xFFFD;&#xFFFD;");
}

}  // namespace
}  // namespace cfmctl
