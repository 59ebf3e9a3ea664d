// The conditions under which computed leaves are asked for.
#include "condition.h"

#include "fixture.h"
#include "provider_model.h"

namespace agentd::test {
namespace {

using ::testing::HasSubstr;

const lysc_node& NodeAt(const std::vector<std::string>& names) {
  const lysc_node* node = nullptr;
  for (const std::string& name : names) {
    node = TheModel().Child(node, name);
  }
  return *node;
}

const ComputedLeaf& Computed(const std::string& list, const std::string& name) {
  static const ProviderModel model(TheModel());
  for (const ComputedLeaf& leaf : model.LeavesOf(NodeAt({"status", "oam", "cfm", list}))) {
    if (name == leaf.schema->name) {
      return leaf;
    }
  }
  throw std::logic_error("no computed leaf " + name);
}

class ConditionTest : public DatastoreTest {
 protected:
  void SetUp() override { Commit({Document(EastDocument())}); }

  // Whether a leaf of an entry with these values would be asked for; an empty
  // value stands for a leaf that is not written.
  bool Holds(const std::string& list, const std::map<std::string, std::string>& values) {
    const auto neighbour = [&](const lysc_node& leaf) -> const std::string* {
      const auto found = values.find(leaf.name);
      return found != values.end() ? &found->second : nullptr;
    };
    const ComputedLeaf& leaf = Computed(list, list == "local" ? "level" : "last-state-change");
    return leaf.condition->Find(TheModel(), datastore_.Running()->Top(), neighbour) != nullptr;
  }
  bool Local(const std::string& md, const std::string& ma, const std::string& mep) {
    return Holds("local", {{"md", md}, {"ma", ma}, {"mep", mep}});
  }
  bool Remote(const std::string& md, const std::string& ma, const std::string& mep) {
    return Holds("remote", {{"md", md}, {"ma", ma}, {"remote-mep", mep}});
  }
};

TEST_F(ConditionTest, AMepHasToBeConfigured) {
  EXPECT_TRUE(Local("east", "blue", "5"));
  EXPECT_FALSE(Local("east", "blue", "6"));
  EXPECT_FALSE(Local("east", "red", "5"));
  EXPECT_FALSE(Local("west", "blue", "5"));
}

TEST_F(ConditionTest, ARemoteMepHasToBeListed) {
  EXPECT_TRUE(Remote("east", "blue", "100"));
  EXPECT_FALSE(Remote("east", "blue", "5"));
  EXPECT_FALSE(Remote("east", "blue", "102"));
}

TEST_F(ConditionTest, AValueThatIsNotThereEqualsNothing) {
  EXPECT_FALSE(Holds("local", {{"md", "east"}, {"ma", "blue"}}));
  EXPECT_FALSE(Holds("local", {}));
}

TEST_F(ConditionTest, AnyNameIsOnlyAName) {
  const std::string hostile = R"(x'] | //*["a"=')";
  EXPECT_FALSE(Local(hostile, "blue", "5"));
  Commit({SetLeaf("/config/oam/cfm/md[id=\"x'] | //*[\"\"a\"\"='\"]/level", "1"),
          Document(Replaced(Replaced(EastDocument(), "east", R"(x'] | //*[\"a\"=')"),
                            R"("level":3)", R"("level":1)"))});
  EXPECT_TRUE(Local(hostile, "blue", "5"));
  EXPECT_FALSE(Local(hostile + " ", "blue", "5"));
}

TEST_F(ConditionTest, ValuesThatNoKeyCanHaveEqualNone) {
  EXPECT_FALSE(Local(std::string(1000, 'x'), "blue", "5"));
  EXPECT_FALSE(Local("", "blue", "5"));
  EXPECT_FALSE(Local("east", "blue", "-1"));
  EXPECT_FALSE(Local("east", "blue", "2147483647"));
  EXPECT_FALSE(Local("east", "blue", "05"));
}

TEST_F(ConditionTest, LeavesUnderTheSameConditionShareIt) {
  EXPECT_EQ(Computed("local", "level").condition, Computed("local", "vlan-list").condition);
}

TEST_F(ConditionTest, WhatIsOfAnotherShapeIsRefused) {
  const lysc_node& leaf = *Computed("local", "level").schema;
  for (const char* text :
       {"../cfm:mep > 5", "/cfm:config/cfm:oam/cfm:cfm/cfm:md",
        "/cfm:config/cfm:oam/cfm:cfm/cfm:md[cfm:level = current()/../cfm:mep]",
        "/cfm:config/cfm:oam/cfm:cfm/cfm:md[cfm:id = 'east']", "/cfm:konfig", "/xyz:config",
        "/cfm:config or true()", "/cfm:config/cfm:oam/cfm:cfm/cfm:md[cfm:id = current()/../cfm:no]",
        "/cfm:config/cfm:oam/cfm:cfm/cfm:md[cfm:id = current()/../cfm:md"}) {
    try {
      const Condition condition(TheModel(), leaf, text);
      ADD_FAILURE() << text << " was accepted";
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), HasSubstr("when statement of 'level'"));
    }
  }
}

TEST_F(ConditionTest, SpaceBetweenItsPartsIsNothing) {
  const Condition condition(TheModel(), *Computed("local", "level").schema,
                            " /cfm:config / cfm:oam/cfm:cfm / cfm:md [ cfm:id="
                            "current()/../cfm:md ] ");
  const std::string md = "east";
  const auto neighbour = [&](const lysc_node&) { return &md; };
  EXPECT_NE(condition.Find(TheModel(), datastore_.Running()->Top(), neighbour), nullptr);
}

}  // namespace
}  // namespace agentd::test
