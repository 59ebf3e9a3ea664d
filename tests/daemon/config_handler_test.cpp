#include "daemon/config_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using ConfigHandler = Config;

TEST_F(ConfigHandler, ItsConstructionIsLogged) {
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("10 config.cpp Config: CFM configuration handler initialized"));
  EXPECT_GT(fake::Logs().front().line, 0);
}

TEST_F(ConfigHandler, ItsDestructionIsLogged) {
  fake::Logs().clear();
  config_.reset();
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("10 config.cpp ~Config: CFM configuration handler finished"));
}

TEST_F(ConfigHandler, ItsDestructionIsLoggedBeforeTheBasesDestructor) {
  fake::Events().clear();
  config_.reset();
  EXPECT_THAT(fake::Events(),
              ElementsAre("zlog CFM configuration handler finished", "~ConfigHandler"));
}

TEST_F(ConfigHandler, ItSubscribesToMepsThenMasThenMds) {
  const auto& points = config_->GetSubscriptionPoints();
  ASSERT_EQ(points.size(), 3u);
  EXPECT_STREQ(points[0].path, "/config/oam/cfm/md/ma/mep/");
  EXPECT_STREQ(points[1].path, "/config/oam/cfm/md/ma/");
  EXPECT_STREQ(points[2].path, "/config/oam/cfm/md/");
  for (const velconfd::SubscriptionPoint& point : points) {
    EXPECT_EQ(point.priority, 0);
    EXPECT_EQ(point.name_space, 0x76d9c9b9u);
    EXPECT_EQ(point.name_space, 1993984441u);
    EXPECT_EQ(point.subscription_id, 0);
  }
}

TEST_F(ConfigHandler, TheSubscriptionPointsAreNotCopied) {
  EXPECT_EQ(&config_->GetSubscriptionPoints(), &config_->GetSubscriptionPoints());
}

TEST_F(ConfigHandler, EachSubscriptionPointCallsItsOwnCallback) {
  const auto& points = config_->GetSubscriptionPoints();
  const confd_value_t md = Buf("east");
  const confd_value_t ma = Buf("blue");
  confd_hkeypath_t path = Keypath({md, Tag(cfm::tag::kMd)});
  EXPECT_EQ(points[2].iterate(&path, MOP_CREATED, nullptr, nullptr), ITER_RECURSE);
  path = Keypath({ma, Tag(cfm::tag::kMa), md, Tag(cfm::tag::kMd)});
  EXPECT_EQ(points[1].iterate(&path, MOP_CREATED, nullptr, nullptr), ITER_RECURSE);
  path = Keypath({Int32(5), Tag(cfm::tag::kMep), ma, Tag(cfm::tag::kMa), md, Tag(cfm::tag::kMd)});
  EXPECT_EQ(points[0].iterate(&path, MOP_CREATED, nullptr, nullptr), ITER_RECURSE);
  AddVlan("east", "blue", 0);
  EXPECT_EQ(SentMep(5).mep_id, 5);
}

TEST_F(ConfigHandler, TheMirrorStartsEmpty) {
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ConfigHandler, DomainsAreOrderedByTheBytesOfTheirNames) {
  CreateMd("md2");
  CreateMd("md10");
  CreateMd("MD3");
  std::vector<std::string> names;
  for (const auto& [name, md] : Sent()) {
    names.push_back(name);
  }
  EXPECT_THAT(names, ElementsAre("MD3", "md10", "md2"));
}

}  // namespace
}  // namespace test
