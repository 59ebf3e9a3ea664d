#include "core/words.h"

#include <gmock/gmock.h>

namespace cfmctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Texts(std::string_view line, Comments comments = Comments::kNone) {
  std::vector<std::string> texts;
  for (const Word& word : SplitWords(line, comments)) {
    texts.push_back(word.text);
  }
  return texts;
}

TEST(Words, AreSplitAtBlanksOutsideQuotes) {
  EXPECT_THAT(Texts("set  md{a}\t'md{b c}' \"d \\\" e\" f\\ g"),
              ElementsAre("set", "md{a}", "md{b c}", "d \" e", "f g"));
}

TEST(Words, QuotesMayStandInsideAWord) {
  EXPECT_THAT(Texts("md{'b c'}/level"), ElementsAre("md{b c}/level"));
}

TEST(Words, ABackslashIsItselfInSingleQuotesAndBeforeOrdinaryCharactersInDoubleOnes) {
  EXPECT_THAT(Texts(R"('a\b' "c\d" "e\\f")"), ElementsAre("a\\b", "c\\d", "e\\f"));
}

TEST(Words, AnEmptyQuotedWordIsAWord) {
  EXPECT_THAT(Texts("a '' b"), ElementsAre("a", "", "b"));
}

TEST(Words, AHashBeginsACommentOnlyAtTheBeginningOfAWordAndOnlyWhenAsked) {
  EXPECT_THAT(Texts("a b#c # d", Comments::kHash), ElementsAre("a", "b#c"));
  EXPECT_THAT(Texts("# d", Comments::kHash), IsEmpty());
  EXPECT_THAT(Texts("# d"), ElementsAre("#", "d"));
}

TEST(Words, AnOpenQuoteIsReportedWithItsWord) {
  const std::vector<Word> words = SplitWords("get 'md{my do");
  ASSERT_EQ(words.size(), 2U);
  EXPECT_EQ(words[1].text, "md{my do");
  EXPECT_EQ(words[1].begin, 4U);
  EXPECT_EQ(words[1].open_quote, '\'');
}

class EscapedWord : public testing::TestWithParam<const char*> {};

TEST_P(EscapedWord, IsOneWordAgainAndTheSame) {
  EXPECT_THAT(Texts(EscapeForShell(GetParam())), ElementsAre(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Names, EscapedWord,
                         testing::Values("md{east}/level", "md{my domain}", "md{a'b\"c}",
                                         "md{$(reboot)}", "md{a,b}", "md{1..9}", "md{\\}"));

TEST(Words, OrdinaryPathsNeedNoEscape) {
  EXPECT_EQ(EscapeForShell("md{e}/ma{b}"), "md{e}/ma{b}");
}

}  // namespace
}  // namespace cfmctl
