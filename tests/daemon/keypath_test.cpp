#include "config/keypath.h"

#include "daemon/config_fixture.h"

namespace test {
namespace {

namespace tag = cfm::tag;

confd_hkeypath_t MepLeaf(confd_value_t mep) {
  return Keypath({Tag(tag::kInterface), mep, Tag(tag::kMep), Buf("blue"), Tag(tag::kMa),
                  Buf("east"), Tag(tag::kMd)});
}

TEST(Keypath, TheKeysStandInFrontOfTheirLists) {
  const confd_hkeypath_t path = MepLeaf(Int32(5));
  std::string md;
  std::string ma;
  std::uint16_t mep = 0;
  EXPECT_TRUE(cfm::GetMdIdFromKp(&path, md));
  EXPECT_TRUE(cfm::GetMaIdFromKp(&path, ma));
  EXPECT_TRUE(cfm::GetMepIdFromKp(&path, mep));
  EXPECT_EQ(md, "east");
  EXPECT_EQ(ma, "blue");
  EXPECT_EQ(mep, 5);
}

TEST(Keypath, AListThatThePathDoesNotHaveIsNotFoundAndTheOutputIsLeftAlone) {
  const confd_hkeypath_t path = Keypath({Tag(tag::kLevel)});
  std::string md = "as it was";
  std::string ma = "as it was";
  std::uint16_t mep = 77;
  EXPECT_FALSE(cfm::GetMdIdFromKp(&path, md));
  EXPECT_FALSE(cfm::GetMaIdFromKp(&path, ma));
  EXPECT_FALSE(cfm::GetMepIdFromKp(&path, mep));
  EXPECT_EQ(md, "as it was");
  EXPECT_EQ(ma, "as it was");
  EXPECT_EQ(mep, 77);
}

TEST(Keypath, ATagWithoutAKeyInFrontOfItIsNotFound) {
  std::string name;
  std::uint16_t mep = 0;
  const confd_hkeypath_t md_path = Keypath({Tag(tag::kMd)});
  EXPECT_FALSE(cfm::GetMdIdFromKp(&md_path, name));
  const confd_hkeypath_t ma_path = Keypath({Tag(tag::kMa)});
  EXPECT_FALSE(cfm::GetMaIdFromKp(&ma_path, name));
  const confd_hkeypath_t mep_path = Keypath({Tag(tag::kMep)});
  EXPECT_FALSE(cfm::GetMepIdFromKp(&mep_path, mep));
}

// A list tag as the nth element, counted from 0, behind its key.
confd_hkeypath_t PathWithMdAt(int index) {
  confd_hkeypath_t path = Keypath({});
  for (int i = 0; i < index - 1; ++i) {
    path.v[i][0] = Tag(tag::kLevel);
  }
  path.v[index - 1][0] = Buf("east");
  path.v[index][0] = Tag(tag::kMd);
  path.len = index + 1;
  return path;
}

TEST(Keypath, The25thElementIsTheLastOneThatIsLookedAt) {
  std::string md;
  const confd_hkeypath_t just_found = PathWithMdAt(24);
  EXPECT_TRUE(cfm::GetMdIdFromKp(&just_found, md));
  EXPECT_EQ(md, "east");
  const confd_hkeypath_t too_deep = PathWithMdAt(25);
  EXPECT_FALSE(cfm::GetMdIdFromKp(&too_deep, md));
}

TEST(Keypath, TheLengthOfThePathDoesNotBoundTheWalk) {
  confd_hkeypath_t path = PathWithMdAt(6);
  path.len = 2;
  std::string md;
  EXPECT_TRUE(cfm::GetMdIdFromKp(&path, md));
}

TEST(Keypath, ANumberThatEqualsTheTagIsNoTag) {
  const confd_hkeypath_t path =
      Keypath({Int32(static_cast<int>(tag::kMd)), Buf("east"), Tag(tag::kMd)});
  std::string md;
  EXPECT_TRUE(cfm::GetMdIdFromKp(&path, md));
  EXPECT_EQ(md, "east");
}

TEST(Keypath, TheInnermostEntryCounts) {
  const confd_hkeypath_t path = Keypath({Buf("inner"), Tag(tag::kMd), Buf("outer"), Tag(tag::kMd)});
  std::string md;
  EXPECT_TRUE(cfm::GetMdIdFromKp(&path, md));
  EXPECT_EQ(md, "inner");
}

TEST(Keypath, AMepIdTakesTheLow16Bits) {
  std::uint16_t mep = 0;
  const confd_hkeypath_t path = MepLeaf(Int32(70000));
  EXPECT_TRUE(cfm::GetMepIdFromKp(&path, mep));
  EXPECT_EQ(mep, 4464);
}

TEST(KeypathDeath, AKeyOfAnotherTypeFailsTheAssertion) {
  std::string name;
  std::uint16_t mep = 0;
  const confd_hkeypath_t md_path = Keypath({Int32(1), Tag(tag::kMd)});
  EXPECT_DEATH(cfm::GetMdIdFromKp(&md_path, name), Assertion("(&kp->v[i - 1][0])->type == C_BUF"));
  const confd_hkeypath_t ma_path = Keypath({Int32(1), Tag(tag::kMa)});
  EXPECT_DEATH(cfm::GetMaIdFromKp(&ma_path, name), Assertion("(&kp->v[i - 1][0])->type == C_BUF"));
  const confd_hkeypath_t mep_path = MepLeaf(Buf("5"));
  EXPECT_DEATH(cfm::GetMepIdFromKp(&mep_path, mep),
               Assertion("(&kp->v[i - 1][0])->type == C_INT32"));
}

}  // namespace
}  // namespace test
