#include "confd_client/value.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>

#include "confd/data_tree.h"
#include "confd_client/wire_value.h"
#include "frame.h"

namespace {

confd_value_t Buffer(std::string& text) {
  confd_value_t value{};
  CONFD_SET_BUF(&value, reinterpret_cast<unsigned char*>(text.data()),
                static_cast<unsigned int>(text.size()));
  return value;
}

TEST(Value, CopyOwnsItsBytesAndEndsWithANul) {
  std::string text("ea\0st", 5);
  confd_value_t copy;
  confd::CopyValue(Buffer(text), copy);
  text = "other";
  EXPECT_EQ(CONFD_GET_BUFSIZE(&copy), 5U);
  EXPECT_EQ(std::string(CONFD_GET_CBUFPTR(&copy), 6), std::string("ea\0st\0", 6));
  confd_free_value(&copy);
  EXPECT_EQ(copy.type, C_NOEXISTS);
}

TEST(Value, FreeingTwiceOrNothingIsHarmless) {
  std::string text = "east";
  confd_value_t copy;
  confd::CopyValue(Buffer(text), copy);
  confd_free_value(&copy);
  confd_free_value(&copy);
  confd_free_value(nullptr);
  confd_free_dup_value(nullptr);
  EXPECT_EQ(confd_value_dup(nullptr), nullptr);
}

TEST(Value, FreeLeavesTheCallersStringAlone) {
  confd_value_t value;
  CONFD_SET_STR(&value, "a constant");
  confd_free_value(&value);
  EXPECT_EQ(value.type, C_NOEXISTS);
}

TEST(Value, DuplicateEqualsItsOriginal) {
  std::string text = "east";
  std::array<confd_value_t, 3> elements{};
  CONFD_SET_INT32(elements.data(), 10);
  CONFD_SET_STR(&elements[1], "a constant");
  elements[2] = Buffer(text);
  confd_value_t list{};
  list.type = C_LIST;
  list.val.list = {3, elements.data()};
  for (const confd_value_t& original : {elements[0], elements[1], elements[2], list}) {
    confd_value_t* duplicate = confd_value_dup(&original);
    ASSERT_NE(duplicate, nullptr);
    EXPECT_TRUE(confd_val_eq(duplicate, &original));
    confd_free_dup_value(duplicate);
  }
}

TEST(Value, EqualityLooksAtTypeAndContents) {
  confd_value_t a{};
  confd_value_t b{};
  CONFD_SET_INT32(&a, 5);
  CONFD_SET_INT64(&b, 5);
  EXPECT_FALSE(confd_val_eq(&a, &b));
  CONFD_SET_INT32(&b, 6);
  EXPECT_FALSE(confd_val_eq(&a, &b));
  CONFD_SET_INT32(&b, 5);
  EXPECT_TRUE(confd_val_eq(&a, &b));
  CONFD_SET_XMLTAG(&a, 1, 2);
  CONFD_SET_XMLTAG(&b, 1, 3);
  EXPECT_FALSE(confd_val_eq(&a, &b));
  EXPECT_FALSE(confd_val_eq(&a, nullptr));
}

struct WireNumber {
  std::uint32_t type;
  std::int64_t number;
};

TEST(WireValue, NumbersKeepTypeAndValue) {
  for (const auto& [type, number] :
       {WireNumber{C_INT8, -128}, WireNumber{C_UINT8, 255}, WireNumber{C_INT16, -5},
        WireNumber{C_UINT16, 65535}, WireNumber{C_INT32, INT32_MIN}, WireNumber{C_INT64, INT64_MIN},
        WireNumber{C_UINT32, UINT32_MAX}, WireNumber{C_UINT64, -1}, WireNumber{C_BOOL, 1},
        WireNumber{C_ENUM_VALUE, 3}}) {
    const confd_value_t value = confd::BorrowScalar(test::Number(type, number));
    EXPECT_EQ(value.type, type);
    EXPECT_EQ(confd::NumberOf(value), number);
  }
}

TEST(WireValue, WhatTheInterfaceDoesNotHaveIsGarbage) {
  for (const auto& [type, number] :
       {WireNumber{C_INT8, 128}, WireNumber{C_UINT8, -1}, WireNumber{C_INT32, INT64_MAX},
        WireNumber{C_UINT32, -1}, WireNumber{C_SYMBOL, 0}, WireNumber{C_LIST, 0}, WireNumber{0, 0},
        WireNumber{63, 0}}) {
    EXPECT_THROW(confd::BorrowScalar(test::Number(type, number)), ipc::ProtocolError) << type;
  }
  const auto nested = test::List({test::List({test::Int32(1)})});
  EXPECT_THROW(confd::BorrowedValue{nested}, ipc::ProtocolError);
}

TEST(WireValue, ListsLendTheirElements) {
  const auto message = test::List({test::Text("a"), test::Text("b")});
  confd::BorrowedValue value(message);
  ASSERT_EQ(CONFD_GET_LISTSIZE(&value.Get()), 2U);
  EXPECT_STREQ(CONFD_GET_CBUFPTR(&CONFD_GET_LIST(&value.Get())[1]), "b");
}

}  // namespace
