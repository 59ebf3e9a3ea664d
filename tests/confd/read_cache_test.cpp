#include "confd_client/read_cache.h"

#include <gtest/gtest.h>

#include "confd/data_tree.h"
#include "confd_client/path_parser.h"

namespace {

using Asked = confd::ReadCache::Asked;
using Verdict = confd::Finding::Verdict;
using cfm::agent::DataNode;
using test::Container;
using test::Entry;
using test::Leaf;

class NoArguments : public confd::Arguments {
 public:
  int NextInt() override { return 0; }
  unsigned int NextUnsigned() override { return 0; }
  const char* NextString() override { return ""; }
  const confd_value_t* NextValue() override { return nullptr; }
};

confd::Path PathOf(const char* text) {
  NoArguments none;
  return confd::ParsePath(text, none);
}

DataNode Covering(DataNode node, DataNode::Coverage coverage,
                  std::optional<std::uint32_t> md_entries = std::nullopt) {
  node.set_coverage(coverage);
  if (md_entries) {
    node.add_list_sizes()->set_name("md");
    node.mutable_list_sizes(0)->set_entries(*md_entries);
  }
  return node;
}

DataNode Md(const char* name, int level, std::uint32_t position) {
  DataNode md = Entry("md", {test::Text(name)},
                      {Leaf("id", test::Text(name)), Leaf("level", test::Int32(level)),
                       Entry("ma", {test::Text("blue"), test::Int32(1)}, {})});
  md.set_position(position);
  return md;
}

class ReadCache : public testing::Test {
 protected:
  void Add(const DataNode& piece) { cache_.Add(std::make_unique<DataNode>(piece)); }

  Verdict Find(const char* path, Asked asked = Asked::kNotYet) {
    return cache_.Find(PathOf(path), asked).verdict;
  }

  // Level of the MD that a path finds, or -1.
  std::int64_t Level(const char* path) {
    const auto finding = cache_.Find(PathOf(path), Asked::kNotYet);
    return finding.data == nullptr ? -1 : finding.data->value().number();
  }

  // Number of entries, or -1 when it is unknown.
  std::int64_t Count(const char* path, Asked asked = Asked::kNotYet) {
    const auto finding = cache_.Count(PathOf(path), asked);
    if (finding.verdict == Verdict::kUnknown) {
      return -1;
    }
    return finding.entries;
  }

  confd::ReadCache cache_;
};

TEST_F(ReadCache, KnowsNothingAtFirst) {
  EXPECT_EQ(Find("/config"), Verdict::kUnknown);
  EXPECT_EQ(Find("/config/md{east}/level"), Verdict::kUnknown);
  EXPECT_EQ(Count("/config/md"), -1);
}

TEST_F(ReadCache, AnswersByKeyAndByPositionWithinAWholeEntry) {
  DataNode config = Covering(Container("config", {}), DataNode::SOME_ENTRIES, 3);
  *config.add_children() = Covering(Md("west", 4, 1), DataNode::EVERYTHING);
  Add(config);
  EXPECT_EQ(Level("/config/md[1]/level"), 4);
  EXPECT_EQ(Level("/config/md{west}/level"), 4);
  EXPECT_EQ(Count("/config/md[1]/ma"), 1);
  EXPECT_EQ(Find("/config/md[1]/ma{blue 1}"), Verdict::kFound);
  EXPECT_EQ(Find("/config/md[1]/ma{blue 2}"), Verdict::kAbsent);
  EXPECT_EQ(Find("/config/md[1]/ma[1]"), Verdict::kAbsent);
  EXPECT_EQ(Find("/config/md[1]/nothing"), Verdict::kAbsent);
  EXPECT_EQ(Count("/config/md[1]/nothing"), 0);
}

TEST_F(ReadCache, EntriesThatWereNotSentAreUnknownUntilAllAreThere) {
  DataNode config = Covering(Container("config", {}), DataNode::SOME_ENTRIES, 2);
  *config.add_children() = Covering(Md("east", 3, 0), DataNode::EVERYTHING);
  Add(config);
  EXPECT_EQ(Count("/config/md"), 2);
  EXPECT_EQ(Find("/config/md{west}"), Verdict::kUnknown);
  EXPECT_EQ(Find("/config/md[1]"), Verdict::kUnknown);
  EXPECT_EQ(Find("/config/md[2]"), Verdict::kAbsent);
  *config.mutable_children(0) = Covering(Md("west", 4, 1), DataNode::EVERYTHING);
  Add(config);
  EXPECT_EQ(Level("/config/md{east}/level"), 3);
  EXPECT_EQ(Level("/config/md{west}/level"), 4);
  EXPECT_EQ(Find("/config/md{north}"), Verdict::kAbsent);
}

TEST_F(ReadCache, AnEntryThatWasFetchedForAndDidNotComeIsAbsent) {
  Add(Covering(Container("config", {}), DataNode::SOME_ENTRIES, 5));
  EXPECT_EQ(Find("/config/md{north}/level", Asked::kNotYet), Verdict::kUnknown);
  EXPECT_EQ(Find("/config/md{north}/level", Asked::kFetched), Verdict::kAbsent);
}

TEST_F(ReadCache, ANodeThatWasNotLookedIntoStaysUnknown) {
  Add(Covering(Container("config", {Container("oam", {})}), DataNode::OWN_NODES));
  EXPECT_EQ(Find("/config/oam"), Verdict::kFound);
  EXPECT_EQ(Find("/config/oam/cfm"), Verdict::kUnknown);
  EXPECT_EQ(Find("/config/oam/cfm", Asked::kFetched), Verdict::kUnknown);
  EXPECT_EQ(Find("/config/other"), Verdict::kAbsent);
}

TEST_F(ReadCache, WhatIsKnownAsAWholeIsNotForgottenForLess) {
  Add(Covering(Container("config", {Md("east", 3, 0)}), DataNode::EVERYTHING));
  Add(Covering(Container("config", {}), DataNode::OWN_NODES));
  EXPECT_EQ(Level("/config/md{east}/level"), 3);
  EXPECT_EQ(Count("/config/md"), 1);
}

TEST_F(ReadCache, WhatWasKnownInPartGrowsIntoTheWhole) {
  DataNode config = Covering(Container("config", {}), DataNode::SOME_ENTRIES, 1);
  *config.add_children() = Covering(
      Entry("md", {test::Text("east")}, {Leaf("level", test::Int32(3))}), DataNode::OWN_NODES);
  Add(config);
  EXPECT_EQ(Level("/config/md{east}/level"), 3);
  EXPECT_EQ(Find("/config/md{east}/ma{blue 1}"), Verdict::kUnknown);
  *config.mutable_children(0) = Covering(Md("east", 3, 0), DataNode::EVERYTHING);
  Add(config);
  EXPECT_EQ(Find("/config/md{east}/ma{blue 1}"), Verdict::kFound);
}

TEST_F(ReadCache, AnEntryThatCameByItsKeyIsNotTakenForThatOfAPosition) {
  DataNode config = Covering(Container("config", {}), DataNode::SOME_ENTRIES, 2);
  *config.add_children() = Covering(Md("west", 4, 0), DataNode::OWN_NODES);
  Add(config);
  EXPECT_EQ(Level("/config/md{west}/level"), 4);
  EXPECT_EQ(Find("/config/md[0]/level"), Verdict::kUnknown);
}

TEST_F(ReadCache, EntriesThatAreAllKnownButNotTheirPositionsLeaveAPositionOpen) {
  DataNode config = Covering(Container("config", {}), DataNode::SOME_ENTRIES, 2);
  *config.add_children() = Covering(Md("west", 4, 0), DataNode::OWN_NODES);
  Add(config);
  *config.mutable_children(0) = Covering(Md("east", 3, 0), DataNode::EVERYTHING);
  Add(config);
  EXPECT_EQ(Find("/config/md{north}"), Verdict::kAbsent);
  EXPECT_EQ(Level("/config/md[0]/level"), 3);
  EXPECT_EQ(Find("/config/md[1]/level"), Verdict::kUnknown);
}

TEST_F(ReadCache, PathsThatDoNotFitTheDataAreTold) {
  Add(Covering(Container("config", {Leaf("name", test::Text("x")), Md("east", 3, 0)}),
               DataNode::EVERYTHING));
  EXPECT_EQ(Find("/config/md/level"), Verdict::kNeedsEntry);
  EXPECT_EQ(Find("/config/name{x}"), Verdict::kNotAList);
  EXPECT_EQ(cache_.Count(PathOf("/config/name"), Asked::kNotYet).verdict, Verdict::kNotAList);
}

TEST_F(ReadCache, ATopLevelNodeThatDidNotComeIsAbsent) {
  cache_.AddAbsence("config");
  EXPECT_EQ(Find("/config/md{east}"), Verdict::kAbsent);
  EXPECT_EQ(Find("/status"), Verdict::kUnknown);
}

TEST_F(ReadCache, KeysThatLookLikePathsAreKeys) {
  DataNode config =
      Covering(Container("config", {Md("a}/x{", 3, 0), Md("b \"c\"", 4, 1)}), DataNode::EVERYTHING);
  Add(config);
  EXPECT_EQ(Level(R"(/config/md{"a}/x{"}/level)"), 3);
  EXPECT_EQ(Level(R"(/config/md{"b \"c\""}/level)"), 4);
}

}  // namespace
