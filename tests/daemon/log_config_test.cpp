#include "daemon/fake_element.h"
#include "daemon/platform_test.h"

namespace test {
namespace {

using testing::Each;
using testing::ElementsAre;

class LogConfiguration : public PlatformTest {
 protected:
  ElemLogCfgComponent components_[4] = {{"cfmd", "CFM", 1, 0},
                                        {"stpd", "STP", 2, 0},
                                        {"cfmd2", "CFM twin", 1, 0},
                                        {nullptr, nullptr, 9, 0}};
};

TEST_F(LogConfiguration, ThereAreThreeCategoriesOfWebCommands) {
  ASSERT_EQ(ElemWebCfgGetNumCategories(), 3);
  const ElemWebCfgCategory* rows = ElemWebCfgGetCategories();
  EXPECT_STREQ(rows[0].title, "Application Commands");
  EXPECT_STREQ(rows[0].key, "user");
  EXPECT_THAT(rows[0].integers, ElementsAre(0, 0, 0));
  EXPECT_STREQ(rows[1].title, "Element Commands");
  EXPECT_STREQ(rows[1].key, "element");
  EXPECT_THAT(rows[1].integers, ElementsAre(0, 1, 1));
  EXPECT_STREQ(rows[2].title, "Element Internal Commands");
  EXPECT_STREQ(rows[2].key, "debug");
  EXPECT_THAT(rows[2].integers, ElementsAre(2, 2, 1));
}

TEST_F(LogConfiguration, TheBaseClassIs100) {
  EXPECT_EQ(ElemLogCfgGetBaseClass(), 100);
}

TEST_F(LogConfiguration, TheHandleIsWhatTheLibraryMakesOfTheRecordAndTheComponents) {
  EXPECT_EQ(ElemLogCfgGetHandle(), fake::PopulateResult());
  EXPECT_EQ(fake::LastPopulated().components, &ElemLogCfgComponents);
  ASSERT_NE(fake::LastPopulated().record, nullptr);
  const ElemLogCfgRecord& record = *fake::LastPopulated().record;
  EXPECT_THAT(record.integers, ElementsAre(3, 7, 3, 100, 1));
  EXPECT_EQ(record.null_word, nullptr);
}

TEST_F(LogConfiguration, TheRecordHoldsThreeLogHandles) {
  ElemLogCfgGetHandle();
  const ElemLogCfgLogHandle* rows = fake::LastPopulated().record->handles;
  EXPECT_STREQ(rows[0].handle, "userLog");
  EXPECT_STREQ(rows[0].name, "UserLog");
  EXPECT_THAT(rows[0].integers, ElementsAre(2, -1, 50, 1, 10, 1));
  EXPECT_STREQ(rows[1].handle, "devLog");
  EXPECT_STREQ(rows[1].name, "DeveloperLog");
  EXPECT_THAT(rows[1].integers, ElementsAre(2, -1, 50, 1, 10, 1));
  EXPECT_STREQ(rows[2].handle, "remoteUserLog");
  EXPECT_STREQ(rows[2].name, "RemoteUserLog");
  EXPECT_THAT(rows[2].integers, ElementsAre(4, -1, 0, 0, 0, 1));
}

TEST_F(LogConfiguration, TheRecordHoldsTwoLogFields) {
  ElemLogCfgGetHandle();
  const ElemLogCfgField* rows = fake::LastPopulated().record->fields;
  EXPECT_EQ(rows[0].index, 0);
  EXPECT_STREQ(rows[0].field, "class");
  EXPECT_STREQ(rows[0].key, "component");
  EXPECT_STREQ(rows[0].label, "Component");
  EXPECT_STREQ(rows[0].short_label, "Component");
  EXPECT_THAT(rows[0].words, ElementsAre(0, 0, 0, 1, 0, 1, 0, 0, 0, 0));
  EXPECT_EQ(rows[1].index, 1);
  EXPECT_STREQ(rows[1].field, "subclass");
  EXPECT_STREQ(rows[1].key, "messageID");
  EXPECT_STREQ(rows[1].label, "MessageID");
  EXPECT_STREQ(rows[1].short_label, "MSG_ID");
  EXPECT_THAT(rows[1].words, Each(0));
}

TEST_F(LogConfiguration, EveryCallTranslatesTheClassIdsUpToTheEndOfTheTable) {
  ElemLogCfgComponents = components_;
  ElemLogCfgGetHandle();
  EXPECT_EQ(components_[0].class_id, 1001);
  EXPECT_EQ(components_[1].class_id, 1002);
  EXPECT_EQ(components_[2].class_id, 1001);
  EXPECT_EQ(components_[3].class_id, 9);
  ElemLogCfgGetHandle();
  EXPECT_EQ(components_[0].class_id, 2001);
  EXPECT_EQ(components_[3].class_id, 9);
}

TEST_F(LogConfiguration, AClassNameIsThatOfTheFirstComponentWithTheTranslatedId) {
  ElemLogCfgComponents = components_;
  ElemLogCfgGetHandle();
  EXPECT_STREQ(ElemLogCfgCalloutGetClassName(1001), "CFM");
  EXPECT_STREQ(ElemLogCfgCalloutGetClassName(1002), "STP");
}

TEST_F(LogConfiguration, AClassIdThatNoComponentHasHasNoName) {
  ElemLogCfgComponents = components_;
  ElemLogCfgGetHandle();
  EXPECT_EQ(ElemLogCfgCalloutGetClassName(1), nullptr);
  EXPECT_EQ(ElemLogCfgCalloutGetClassName(9), nullptr);
}

TEST_F(LogConfiguration, WithoutComponentsThereAreNoNames) {
  EXPECT_EQ(ElemLogCfgCalloutGetClassName(1), nullptr);
  ElemLogCfgComponents = components_ + 3;
  EXPECT_EQ(ElemLogCfgCalloutGetClassName(9), nullptr);
}

}  // namespace
}  // namespace test
