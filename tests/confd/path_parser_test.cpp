#include "confd_client/path_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>

#include "confd_client/error.h"

namespace {

// Arguments of a call, handed out in order.
class Given : public confd::Arguments {
 public:
  Given& Int(int number) { return ints_.push_back(number), *this; }
  Given& Unsigned(unsigned int number) { return unsigneds_.push_back(number), *this; }
  Given& String(const char* text) { return strings_.push_back(text), *this; }
  Given& Value(const confd_value_t* value) { return values_.push_back(value), *this; }

  int NextInt() override { return Take(ints_); }
  unsigned int NextUnsigned() override { return Take(unsigneds_); }
  const char* NextString() override { return Take(strings_); }
  const confd_value_t* NextValue() override { return Take(values_); }

 private:
  template <typename T>
  static T Take(std::deque<T>& from) {
    T taken = from.at(0);
    from.pop_front();
    return taken;
  }

  std::deque<int> ints_;
  std::deque<unsigned int> unsigneds_;
  std::deque<const char*> strings_;
  std::deque<const confd_value_t*> values_;
};

std::string Parsed(const char* format, Given given = {}) {
  return confd::PathText(confd::ParsePath(format, given));
}

struct Failure {
  std::size_t position;
  std::string cause;
};

Failure FailureOf(std::string_view format, Given given = {}) {
  try {
    confd::ParsePath(format, given);
  } catch (const confd::PathError& error) {
    return {error.Position(), error.what()};
  }
  return {0, "no failure"};
}

TEST(PathParser, ReadsNodesKeysAndPositions) {
  Given given;
  const confd::Path path = confd::ParsePath("/config/oam/md{east}/ma[3]/x-y_z.1/", given);
  ASSERT_EQ(path.size(), 5U);
  EXPECT_EQ(path[0].name, "config");
  EXPECT_FALSE(path[0].PicksEntry());
  EXPECT_EQ(path[2].keys.at(0).text, "east");
  EXPECT_EQ(path[3].position, 3U);
  EXPECT_EQ(path[4].name, "x-y_z.1");
}

TEST(PathParser, ReadsSeveralKeysAndQuotedOnes) {
  Given given;
  const confd::Path path = confd::ParsePath(R"(/a{one 2 "th} \"ree\\" ""}/b{ x  y })", given);
  ASSERT_EQ(path.at(0).keys.size(), 4U);
  EXPECT_EQ(path[0].keys[2].text, R"(th} "ree\)");
  EXPECT_EQ(path[0].keys[3].text, "");
  EXPECT_EQ(path.at(1).keys.size(), 2U);
}

TEST(PathParser, TakesKeysFromArguments) {
  confd_value_t number;
  CONFD_SET_INT64(&number, -4);
  confd_value_t text;
  CONFD_SET_STR(&text, "blue");
  Given given;
  given.Int(-5).Unsigned(4000000000U).String("east").Value(&number).Value(&text);
  const confd::Path path = confd::ParsePath("/a{%d %u %s}/b{%x}/c{%x}", given);
  EXPECT_EQ(confd::PathText(path), "/a{-5 4000000000 east}/b{-4}/c{blue}");
  EXPECT_EQ(path[0].keys[0].type, C_BUF);
  EXPECT_EQ(path[1].keys[0].type, C_INT64);
  EXPECT_EQ(path[1].keys[0].number, -4);
  EXPECT_EQ(path[2].keys[0].type, C_BUF);
}

TEST(PathParser, TakesPositionsFromArguments) {
  EXPECT_EQ(Parsed("/md[%d]/ma[%u]/id", Given().Int(2).Unsigned(0)), "/md[2]/ma[0]/id");
}

TEST(PathParser, TakesAWholeNodeNameFromAnArgument) {
  EXPECT_EQ(Parsed("/md{%s}/ma{%s}/%s", Given().String("a").String("b").String("vlan-list")),
            "/md{a}/ma{b}/vlan-list");
}

TEST(PathParser, KeepsWhateverAnArgumentHoldsInOneKey) {
  for (const char* text : {"a}/x{", "two words", "\"quoted\"", "{", "}", "\\", "%s%n", "", "/",
                           "a/b", "[0]", "tab\tnewline\n"}) {
    Given given;
    given.String(text);
    const confd::Path path = confd::ParsePath("/md{%s}/level", given);
    ASSERT_EQ(path.size(), 2U) << text;
    ASSERT_EQ(path[0].keys.size(), 1U) << text;
    EXPECT_EQ(path[0].keys[0].text, text);
    EXPECT_EQ(path[1].name, "level");
  }
}

TEST(PathParser, PrintedKeysReadBackAsTheSameKey) {
  for (const char* text : {"a}/x{", "two words", "\"quoted\"", "\\", ""}) {
    Given given;
    given.String(text);
    Given none;
    const std::string printed = confd::PathText(confd::ParsePath("/md{%s}", given));
    EXPECT_EQ(confd::ParsePath(printed, none).at(0).keys.at(0).text, text) << printed;
  }
}

TEST(PathParser, RefusesNodeNamesFromArgumentsThatAreNone) {
  for (const char* text : {"a}/x{", "a/b", "", "a{b}", "a[0]", "1a", "a b", "%s"}) {
    EXPECT_THAT(FailureOf("/md/%s", Given().String(text)).cause,
                testing::AnyOf(testing::HasSubstr("is no node's name"),
                               testing::HasSubstr("name is missing")))
        << text;
  }
}

struct Bad {
  const char* format;
  std::size_t position;
  const char* cause;
};

void PrintTo(const Bad& bad, std::ostream* out) {
  *out << bad.format;
}

class BadFormat : public testing::TestWithParam<Bad> {};

TEST_P(BadFormat, IsRefusedWithPositionAndCause) {
  confd_value_t list{};
  list.type = C_LIST;
  Given given;
  given.Int(-1).String(nullptr).Value(GetParam().format == std::string("/a{%x}") ? &list : nullptr);
  const Failure failure = FailureOf(GetParam().format, given);
  EXPECT_EQ(failure.position, GetParam().position);
  EXPECT_THAT(failure.cause, testing::HasSubstr(GetParam().cause));
}

INSTANTIATE_TEST_SUITE_P(
    PathParser, BadFormat,
    testing::Values(Bad{"", 0, "'/' is missing"}, Bad{"/", 1, "name is missing"},
                    Bad{"config", 0, "'/' is missing"}, Bad{"//a", 1, "name is missing"},
                    Bad{"/a//", 3, "name is missing"}, Bad{"/a b", 2, "'/' is missing"},
                    Bad{"/1a", 3, "'1a' is no node's name"}, Bad{"/a{}", 4, "no key"},
                    Bad{"/a{b", 4, "'}' is missing"}, Bad{"/a{", 3, "'}' is missing"},
                    Bad{"/a{b}c", 5, "'/' is missing"}, Bad{"/a{b{c}", 4, "space or '}'"},
                    Bad{"/a{{", 3, "without quotes"}, Bad{"/a{b\"c\"}", 4, "space or '}'"},
                    Bad{"/a{\"b", 5, "closing"}, Bad{"/a{\"b\\", 6, "closing"},
                    Bad{"/a{\"%s\"}", 4, "between quotes"}, Bad{"/a{%d%d}", 5, "space or '}'"},
                    Bad{"/a{b%d}", 4, "space or '}'"}, Bad{"/a{%n}", 4, "a key takes"},
                    Bad{"/a{%ld}", 4, "a key takes"}, Bad{"/a{%}", 4, "a key takes"},
                    Bad{"/a{%", 4, "a key takes"}, Bad{"/a{%%}", 4, "a key takes"},
                    Bad{"/a{%s}", 5, "%s is null"}, Bad{"/a{%x}", 5, "of type 31"},
                    Bad{"/b{%x}", 5, "%x is null"}, Bad{"/a%s", 2, "'/' is missing"},
                    Bad{"/%d", 2, "only %s"}, Bad{"/%s", 3, "%s is null"}, Bad{"/%", 2, "only %s"},
                    Bad{"/a[]", 3, "no position"}, Bad{"/a[-1]", 3, "no position"},
                    Bad{"/a[99999999999]", 14, "no position"}, Bad{"/a[%d]", 5, "-1 is negative"},
                    Bad{"/a[%s]", 4, "a position takes"}, Bad{"/a[1", 4, "']' is missing"},
                    Bad{"/a[1]{b}", 5, "'/' is missing"},
                    Bad{"/a{1 2 3 4 5 6 7 8 9 10}", 21, "9 keys"}));

TEST(PathParser, ReadsThirtyNodesAndRefusesMoreThanAKeypathHas) {
  std::string thirty;
  for (int i = 0; i < 30; ++i) {
    thirty += "/n" + std::to_string(i);
  }
  EXPECT_EQ(Parsed(thirty.c_str()), thirty);
  EXPECT_THAT(FailureOf(thirty + "/a/b/c/d/e/f/g/h/i/j/k").cause, testing::HasSubstr("40 nodes"));
}

TEST(PathParser, NamesTheFormatInTheErrorOfACall) {
  Given given;
  try {
    confd::ParseFormat("/config/md{%f}", given);
    FAIL() << "the format was taken";
  } catch (const confd::ApiError& error) {
    EXPECT_EQ(error.Code(), CONFD_ERR_BADPATH);
    EXPECT_STREQ(error.what(),
                 "/config/md{%f}: bad path at character 12: a key takes %d, %u, %s or %x");
  }
  EXPECT_THROW(confd::ParseFormat(nullptr, given), confd::ApiError);
}

TEST(PathIndex, TellsSeveralKeysApartWhateverTheyHold) {
  const auto key = [](const char* text) { return confd::Key{C_BUF, 0, text}; };
  EXPECT_NE(confd::IndexText({key("a"), key("b c")}), confd::IndexText({key("a b"), key("c")}));
  EXPECT_NE(confd::IndexText({key("1:a"), key("")}), confd::IndexText({key(""), key("1:a")}));
  EXPECT_EQ(confd::IndexText({key("5")}), confd::IndexText({confd::Key{C_INT32, 5, "5"}}));
}

}  // namespace
