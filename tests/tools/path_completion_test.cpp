#include "core/path_completion.h"

#include <gmock/gmock.h>

#include "trees.h"

namespace cfmctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Completed(const char* partial) {
  return CompletePath(partial, test::Cfm());
}

TEST(PathCompletion, ListsOfferTheirEntriesAndANewOne) {
  EXPECT_THAT(Completed(""), ElementsAre("md{", "md{east}", "md{west}"));
  EXPECT_THAT(Completed("md{e"), ElementsAre("md{east}"));
  EXPECT_THAT(Completed("md{east}"), ElementsAre("md{east}/"));
}

TEST(PathCompletion, ChildrenAreThoseOfTheModel) {
  EXPECT_THAT(Completed("md{east}/"),
              ElementsAre("md{east}/id ", "md{east}/level ", "md{east}/ma{", "md{east}/ma{blue}"));
  EXPECT_THAT(Completed("md{new}/ma{x}/c"), ElementsAre("md{new}/ma{x}/ccm-interval "));
  EXPECT_THAT(Completed("md{e}/ma{b}/mep{5}/con"),
              ElementsAre("md{e}/ma{b}/mep{5}/continuity-check"));
}

TEST(PathCompletion, LeafListsOfferTheirElements) {
  EXPECT_THAT(Completed("md{east}/ma{blue}/v"),
              ElementsAre("md{east}/ma{blue}/vlan-list", "md{east}/ma{blue}/vlan-list{10} ",
                          "md{east}/ma{blue}/vlan-list{20} ", "md{east}/ma{blue}/vlan-list{30} "));
}

TEST(PathCompletion, TheLongStyleGoesOnInItsStyle) {
  EXPECT_THAT(Completed("/con"), ElementsAre("/config/oam/cfm/"));
  EXPECT_THAT(Completed("/config/oam/cfm/md["),
              ElementsAre("/config/oam/cfm/md[id='east']", "/config/oam/cfm/md[id='west']"));
  EXPECT_THAT(Completed("/config/oam/cfm/md[id='east']/l"),
              ElementsAre("/config/oam/cfm/md[id='east']/level "));
}

TEST(PathCompletion, NonsenseHasNoContinuation) {
  EXPECT_THAT(Completed("mx{a}/"), IsEmpty());
  EXPECT_THAT(Completed("/status/"), IsEmpty());
  EXPECT_THAT(Completed("md{east}/zz"), IsEmpty());
}

TEST(PathCompletion, EnumerationsOfferTheirValues) {
  EXPECT_THAT(CompleteValue("md{e}/ma{b}/ccm-interval"), ElementsAre("1s", "10s", "1min", "10min"));
  EXPECT_THAT(CompleteValue("md{e}/level"), IsEmpty());
  EXPECT_THAT(CompleteValue("nonsense"), IsEmpty());
}

}  // namespace
}  // namespace cfmctl
