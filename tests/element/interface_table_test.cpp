#include "interface_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

namespace {

using elem::Interface;
using elem::ParseInterfaceTable;
using elem::PortKind;
using testing::ElementsAre;
using testing::IsEmpty;

// What is wrong with `text`, or nothing.
std::string Problem(std::string_view text) {
  try {
    ParseInterfaceTable(text, "interfaces");
    return "";
  } catch (const elem::InterfaceTableError& error) {
    return error.what();
  }
}

TEST(InterfaceTable, HoldsTheLinesInOrder) {
  const auto table = ParseInterfaceTable(
      "wire-a 7 wire /run/a\n"
      "\teth0  4294967295   linux # the uplink\r\n"
      "\n"
      "   # nothing here\n"
      "port/1 1 linux enp3s0",
      "interfaces");
  EXPECT_THAT(table.All(), ElementsAre(Interface{"wire-a", 7, PortKind::kWire, "/run/a"},
                                       Interface{"eth0", 4294967295, PortKind::kLinux, "eth0"},
                                       Interface{"port/1", 1, PortKind::kLinux, "enp3s0"}));
}

TEST(InterfaceTable, MayBeEmpty) {
  EXPECT_THAT(ParseInterfaceTable("", "interfaces").All(), IsEmpty());
  EXPECT_THAT(ParseInterfaceTable("\n# none\n", "interfaces").All(), IsEmpty());
}

TEST(InterfaceTable, FindsByNameAndById) {
  const auto table = ParseInterfaceTable("a 1 wire /a\nb 2 wire /b\n", "interfaces");
  ASSERT_NE(table.FindByName("b"), nullptr);
  EXPECT_EQ(table.FindByName("b")->limid, 2U);
  EXPECT_EQ(table.FindByName("c"), nullptr);
  EXPECT_EQ(table.FindByName(""), nullptr);
  ASSERT_NE(table.FindByLimid(1), nullptr);
  EXPECT_EQ(table.FindByLimid(1)->name, "a");
  EXPECT_EQ(table.FindByLimid(0), nullptr);
}

TEST(InterfaceTable, NumberSignInsideAFieldIsNoComment) {
  EXPECT_EQ(ParseInterfaceTable("a 1 wire /a#1", "interfaces").All()[0].argument, "/a#1");
}

TEST(InterfaceTable, SaysWhatIsWrongAndWhere) {
  EXPECT_EQ(Problem("a 1\n"), "interfaces:1: 2 fields; a line is: name limid kind [argument]");
  EXPECT_EQ(Problem("\n\na 1 linux b c"),
            "interfaces:3: 5 fields; a line is: name limid kind [argument]");
  EXPECT_EQ(Problem("a 1 tunnel"), "interfaces:1: kind 'tunnel' is unknown; it is wire or linux");
  EXPECT_EQ(Problem("a 1 wire"),
            "interfaces:1: a wire needs the path of its socket after the kind");
  EXPECT_EQ(Problem("a 1 wire ../a"),
            "interfaces:1: path '../a' of a wire is relative; write it from the root, as in "
            "/run/cfm/wire");
  EXPECT_EQ(Problem("a 1 wire /a\nb 2 wire /b\na 3 wire /c"),
            "interfaces:3: name 'a' stands in line 1 already");
  EXPECT_EQ(Problem("a 1 wire /a\nb 1 wire /b"),
            "interfaces:2: logical interface id 1 stands in line 1 already");
  EXPECT_EQ(Problem("a-device-too-long 1 linux"),
            "interfaces:1: device name 'a-device-too-long' is longer than the 15 characters that "
            "Linux allows");
}

TEST(InterfaceTable, TakesOnlyPlainIdsFromOneToTheLargest) {
  EXPECT_EQ(Problem("a 1 linux"), "");
  EXPECT_EQ(Problem("a 4294967295 linux"), "");
  for (const std::string text :
       {"0", "4294967296", "99999999999999999999", "-1", "+1", "0x1", "1a", "one"}) {
    EXPECT_EQ(Problem("a " + text + " linux"), "interfaces:1: logical interface id '" + text +
                                                   "' is not a number from 1 to 4294967295");
  }
}

TEST(InterfaceTable, RefusesWhatIsNoText) {
  const std::string problem = "interfaces:2: control character; the interface table is a text file";
  EXPECT_EQ(Problem(std::string_view("a 1 linux\nb\0 2 linux", 20)), problem);
  EXPECT_EQ(Problem("a 1 linux\n# \x1b[31m"), problem);
}

TEST(InterfaceTable, RefusesOverlongLines) {
  EXPECT_EQ(Problem("#" + std::string(1023, 'x')), "");
  EXPECT_EQ(Problem("#" + std::string(1024, 'x')),
            "interfaces:1: line of 1025 bytes, at most 1024 are allowed");
}

TEST(InterfaceTable, OfAnyBytesIsATableOrAnError) {
  constexpr std::string_view kBytes = "ab12 \t\n#0wirelinux/\r-";
  std::mt19937 random(20261120);
  int tables = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string text = "a 1 linux\n";
    for (unsigned count = random() % 12; count > 0; --count) {
      text[random() % text.size()] = kBytes[random() % kBytes.size()];
    }
    if (Problem(text).empty()) {
      ++tables;
      const auto table = ParseInterfaceTable(text, "interfaces");
      for (const Interface& each : table.All()) {
        EXPECT_NE(each.limid, 0U);
        EXPECT_FALSE(each.name.empty());
        EXPECT_FALSE(each.argument.empty());
      }
    }
  }
  EXPECT_GT(tables, 0);
  EXPECT_LT(tables, 20'000);
}

TEST(InterfaceTable, ExampleIsValid) {
  EXPECT_EQ(elem::ReadInterfaceTable(EXAMPLE_TABLE).All().size(), 4U);
}

}  // namespace
