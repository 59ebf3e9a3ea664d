#include <confd_lib.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "confd_client/names.h"

namespace {

class Print : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    const std::pair<std::uint32_t, const char*> names[] = {
        {0x9001, "top"}, {0x9002, "row"}, {0x9003, "leaf"}, {0x9004, "row"}};
    for (const auto& [tag, name] : names) {
      confd::SchemaNames().Learn(tag, name);
    }
  }

  Print() {
    for (auto& row : path_.v) {
      for (auto& value : row) {
        CONFD_SET_NOEXISTS(&value);
      }
    }
  }

  void SetText(int element, int slot, std::string& text) {
    CONFD_SET_BUF(&path_.v[element][slot], reinterpret_cast<unsigned char*>(text.data()),
                  static_cast<unsigned int>(text.size()));
    path_.len = std::max(path_.len, element + 1);
  }

  void SetTag(int element, std::uint32_t tag) {
    CONFD_SET_XMLTAG(&path_.v[element][0], tag, 1);
    path_.len = std::max(path_.len, element + 1);
  }

  std::string Keypath() {
    std::array<char, 512> buffer{};
    const int length = confd_pp_kpath(buffer.data(), buffer.size(), &path_);
    EXPECT_EQ(static_cast<std::size_t>(length), std::string(buffer.data()).size());
    return buffer.data();
  }

  static std::string Value(const confd_value_t& value) {
    std::array<char, 128> buffer{};
    confd_pp_value(buffer.data(), buffer.size(), &value);
    return buffer.data();
  }

  confd_hkeypath_t path_{};
};

TEST_F(Print, KeypathReadsFromTheTopToTheLeaf) {
  std::string east = "east";
  SetTag(0, 0x9003);
  SetText(1, 0, east);
  CONFD_SET_INT32(&path_.v[1][1], 5);
  SetTag(2, 0x9002);
  SetTag(3, 0x9001);
  EXPECT_EQ(Keypath(), "/top/row{east 5}/leaf");
}

TEST_F(Print, KeypathShowsUnknownTagsAsNumbers) {
  SetTag(0, 1234567);
  SetTag(1, 0x9001);
  EXPECT_EQ(Keypath(), "/top/[1234567]");
}

TEST_F(Print, KeypathQuotesKeysThatWouldNotBeOneKey) {
  const std::pair<const char*, const char*> cases[] = {{"two words", R"(/row{"two words"})"},
                                                       {"a}/x{", R"(/row{"a}/x{"})"},
                                                       {"say \"hi\"", R"(/row{"say \"hi\""})"},
                                                       {"back\\slash", R"(/row{"back\\slash"})"},
                                                       {"", R"(/row{""})"},
                                                       {"1/1", "/row{1/1}"}};
  for (const auto& [key, printed] : cases) {
    std::string text = key;
    SetText(0, 0, text);
    SetTag(1, 0x9002);
    EXPECT_EQ(Keypath(), printed);
  }
}

TEST_F(Print, KeypathOfThirtyElements) {
  std::string expected;
  for (int i = 0; i < 30; ++i) {
    SetTag(i, 0x9001);
    expected += "/top";
  }
  EXPECT_EQ(Keypath(), expected);
}

TEST_F(Print, KeypathCutsLikeSnprintfAndStaysInsideTheBuffer) {
  SetTag(0, 0x9001);
  std::array<char, 4> buffer = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(confd_pp_kpath(buffer.data(), 3, &path_), 4);
  EXPECT_EQ(std::string(buffer.data(), 4), std::string("/t\0x", 4));
  EXPECT_EQ(confd_pp_kpath(nullptr, 0, &path_), 4);
  EXPECT_EQ(confd_pp_kpath(buffer.data(), -1, &path_), 4);
}

TEST_F(Print, KeypathOfNonsenseLengthDoesNotReadOutside) {
  path_.len = 1000;
  EXPECT_FALSE(Keypath().empty());
  path_.len = -3;
  EXPECT_EQ(Keypath(), "/");
}

TEST_F(Print, ValuesOfEachType) {
  confd_value_t v{};
  CONFD_SET_INT8(&v, -8);
  EXPECT_EQ(Value(v), "-8");
  CONFD_SET_UINT16(&v, 65535);
  EXPECT_EQ(Value(v), "65535");
  CONFD_SET_INT64(&v, INT64_MIN);
  EXPECT_EQ(Value(v), "-9223372036854775808");
  CONFD_SET_UINT64(&v, UINT64_MAX);
  EXPECT_EQ(Value(v), "18446744073709551615");
  CONFD_SET_ENUM_VALUE(&v, 3);
  EXPECT_EQ(Value(v), "3");
  CONFD_SET_BOOL(&v, 1);
  EXPECT_EQ(Value(v), "true");
  CONFD_SET_STR(&v, "as it {is}");
  EXPECT_EQ(Value(v), "as it {is}");
  CONFD_SET_XMLTAG(&v, 0x9003, 1);
  EXPECT_EQ(Value(v), "leaf");
  CONFD_SET_XMLTAG(&v, 77, 1);
  EXPECT_EQ(Value(v), "[77]");
  CONFD_SET_NOEXISTS(&v);
  EXPECT_EQ(Value(v), "<noexists>");
}

TEST_F(Print, ListsInBraces) {
  std::array<confd_value_t, 2> elements{};
  CONFD_SET_INT32(elements.data(), 10);
  CONFD_SET_STR(&elements[1], "b c");
  confd_value_t list{};
  list.type = C_LIST;
  list.val.list = {2, elements.data()};
  EXPECT_EQ(Value(list), R"({10 "b c"})");
}

TEST_F(Print, NamesOfTagsAndTagsOfNames) {
  EXPECT_STREQ(confd_hash2str(0x9003), "leaf");
  EXPECT_EQ(confd_hash2str(77), nullptr);
  EXPECT_EQ(confd_str2hash("row"), 0x9002U);  // the first of two
  EXPECT_STREQ(confd_hash2str(0x9004), "row");
  EXPECT_EQ(confd_str2hash("nobody"), 0U);
  EXPECT_EQ(confd_str2hash(nullptr), 0U);
}

TEST(ErrorTexts, AreNeverNull) {
  EXPECT_STREQ(confd_strerror(CONFD_ERR_BADPATH), "bad path");
  EXPECT_STREQ(confd_strerror(12345), "unknown error");
  EXPECT_NE(confd_lasterr(), nullptr);
}

}  // namespace
