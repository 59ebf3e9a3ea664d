#include "core/path.h"

#include <gmock/gmock.h>

namespace cfmctl {
namespace {

using testing::HasSubstr;

std::string Converted(const std::string& text) {
  return ToInstancePath(ParsePath(text));
}

std::string Complaint(const std::string& text) {
  try {
    ParsePath(text);
  } catch (const PathError& error) {
    return error.what();
  }
  return "none";
}

struct Spelling {
  const char* typed;
  const char* instance;
};

class PathSpelling : public testing::TestWithParam<Spelling> {};

TEST_P(PathSpelling, BecomesTheInstancePath) {
  EXPECT_EQ(Converted(GetParam().typed), GetParam().instance);
}

INSTANTIATE_TEST_SUITE_P(
    Styles, PathSpelling,
    testing::Values(Spelling{"", "/config/oam/cfm"}, Spelling{"/", "/config/oam/cfm"},
                    Spelling{"/config", "/config/oam/cfm"},
                    Spelling{"/config/oam/cfm/", "/config/oam/cfm"},
                    Spelling{"md", "/config/oam/cfm/md"},
                    Spelling{"md{east}", "/config/oam/cfm/md[id='east']"},
                    Spelling{"/md{east}/level", "/config/oam/cfm/md[id='east']/level"},
                    Spelling{"config/oam/cfm/md{east}", "/config/oam/cfm/md[id='east']"},
                    Spelling{"/config/oam/cfm/md[id='east']/ma[id=\"blue\"]/mep[id='5']/direction",
                             "/config/oam/cfm/md[id='east']/ma[id='blue']/mep[id='5']/direction"},
                    Spelling{"/element-cfm:config/oam/cfm/md[ id = 'east' ]/ma{blue}",
                             "/config/oam/cfm/md[id='east']/ma[id='blue']"},
                    Spelling{"md{e}/ma{b}/vlan-list{10}",
                             "/config/oam/cfm/md[id='e']/ma[id='b']/vlan-list[.='10']"},
                    Spelling{"md{e}/ma{b}/vlan-list[.='10']",
                             "/config/oam/cfm/md[id='e']/ma[id='b']/vlan-list[.='10']"}));

INSTANTIATE_TEST_SUITE_P(
    HostileNames, PathSpelling,
    testing::Values(Spelling{"md{my domain}/level", "/config/oam/cfm/md[id='my domain']/level"},
                    Spelling{"md{ two  blanks }", "/config/oam/cfm/md[id=' two  blanks ']"},
                    Spelling{"md{a/b}/level", "/config/oam/cfm/md[id='a/b']/level"},
                    Spelling{"md{a]b[c{d}", "/config/oam/cfm/md[id='a]b[c{d']"},
                    Spelling{"md{o'neill}", "/config/oam/cfm/md[id=\"o'neill\"]"},
                    Spelling{"md{the \"best\"}", "/config/oam/cfm/md[id='the \"best\"']"},
                    Spelling{"md{\"a}b\"}", "/config/oam/cfm/md[id='a}b']"},
                    Spelling{"md{'a}b'}", "/config/oam/cfm/md[id='a}b']"},
                    Spelling{"md{\"a\\\"b\\\\c\"}", "/config/oam/cfm/md[id='a\"b\\c']"},
                    Spelling{"md{a\\b}", "/config/oam/cfm/md[id='a\\b']"},
                    Spelling{"md{\"\\\"'\"}", "/config/oam/cfm/md[id=\"\"\"'\"]"},
                    Spelling{"md[id=\"\"\"'\"]", "/config/oam/cfm/md[id=\"\"\"'\"]"},
                    Spelling{"md{x'] | //*[.='}", "/config/oam/cfm/md[id=\"x'] | //*[.='\"]"}));

struct Mistake {
  const char* typed;
  const char* complaint;
};

class PathMistake : public testing::TestWithParam<Mistake> {};

TEST_P(PathMistake, IsNamedWithItsPlace) {
  EXPECT_THAT(Complaint(GetParam().typed), HasSubstr(GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, PathMistake,
    testing::Values(Mistake{"mdx",
                            "path \"mdx\": there is no node \"mdx\" below cfm (there is md)"},
                    Mistake{"md{e}/levl", "no node \"levl\" below md (there is id, level, ma)"},
                    Mistake{"md/level", "md needs its key: md{...}"},
                    Mistake{"md{e}/level{3}", "level is no list and has no key"},
                    Mistake{"md{}", "the key of md is empty"}, Mistake{"md{east", "a { has no }"},
                    Mistake{"md{\"east}", "a \" has no closing \""},
                    Mistake{"md{'east'x}", "expected } before \"x}\""},
                    Mistake{"md[name='east']", "md has no key \"name\": write md[id='...']"},
                    Mistake{"md[id=east]", "must be quoted: md[id='...']"},
                    Mistake{"md[id='east'", "a ] is missing at the end"},
                    Mistake{"md{e}level", "expected / before \"level\""},
                    Mistake{"md{e}//level", "a node name is missing before \"/level\""},
                    Mistake{"/config/system", "the configuration is below /config/oam/cfm"}));

TEST(Path, AListWithoutKeyIsNoInstance) {
  EXPECT_FALSE(ParsePath("md").NamesOneInstance());
  EXPECT_TRUE(ParsePath("md{e}").NamesOneInstance());
  EXPECT_TRUE(ParsePath("").NamesOneInstance());
}

TEST(Path, TheEnclosingEntryIsTheLastListEntryNamed) {
  EXPECT_EQ(ToInstancePath(EnclosingEntry(ParsePath("md{e}/ma{b}/vlan-list{10}"))),
            "/config/oam/cfm/md[id='e']/ma[id='b']");
  EXPECT_EQ(ToInstancePath(EnclosingEntry(ParsePath("md{e}/ma"))), "/config/oam/cfm/md[id='e']");
  EXPECT_TRUE(EnclosingEntry(ParsePath("md")).steps.empty());
}

class ShortStep : public testing::TestWithParam<const char*> {};

TEST_P(ShortStep, IsReadBackAsItWas) {
  const PathStep step{"md", GetParam()};
  EXPECT_EQ(SplitPath(ToShortStep(step)), std::vector{step});
}

INSTANTIATE_TEST_SUITE_P(Names, ShortStep,
                         testing::Values("east", "my domain", "a}b", "\"", "'x'", "\"}\\", "a\\b",
                                         "{", "'\"}"));

}  // namespace
}  // namespace cfmctl
