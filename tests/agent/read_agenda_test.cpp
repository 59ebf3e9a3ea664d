// The order in which a read asks.
#include "read_agenda.h"

#include "fixture.h"
#include "operational_paths.h"

namespace agentd::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Items = std::vector<ReadAgenda::Item>;

const ProviderModel& Providers() {
  static const ProviderModel model(TheModel());
  return model;
}

// Two remote MEPs, 1 and 2, each with two leaves to ask for.
class ReadAgendaTest : public ::testing::Test {
 protected:
  ReadAgendaTest() {
    for (const std::int64_t key : {1, 2}) {
      EXPECT_TRUE(store_.Create(EntryPath("remote", key)).empty());
    }
    agenda_.emplace(ReadPlan(store_.Top(), Providers(), {}, {}));
  }

  std::string Words(const ReadAgenda::Question& question) {
    return std::string(question.leaf->schema->name) + " " +
           agenda_->Plan().At(question).entry->Keys().front();
  }
  // What comes next, up to so many.
  Items Draw(std::size_t most = 100) {
    Items items;
    while (items.size() < most) {
      const auto item = agenda_->Front([](const auto&) { return false; });
      if (!item) {
        break;
      }
      agenda_->Pop(*item);
      items.push_back(*item);
    }
    return items;
  }
  std::vector<std::string> Words(const Items& items) {
    std::vector<std::string> words;
    for (const ReadAgenda::Item& item : items) {
      words.push_back(Words(item.question));
    }
    return words;
  }

  OperationalStore store_{TheModel(), Providers()};
  std::optional<ReadAgenda> agenda_;
};

TEST_F(ReadAgendaTest, IsThatOfThePlan) {
  EXPECT_FALSE(agenda_->IsEmpty());
  EXPECT_THAT(Words(Draw()), ElementsAre("last-state-change 1", "rmep-ccms-received 1",
                                         "last-state-change 2", "rmep-ccms-received 2"));
  EXPECT_TRUE(agenda_->IsEmpty());
}

TEST_F(ReadAgendaTest, WhatIsSkippedIsDropped) {
  const auto item = agenda_->Front(
      [&](const ReadAgenda::Question& question) { return Words(question).ends_with("1"); });
  ASSERT_TRUE(item);
  EXPECT_EQ(Words(item->question), "last-state-change 2");
  EXPECT_THAT(Words(Draw()), ElementsAre("last-state-change 2", "rmep-ccms-received 2"));
}

TEST_F(ReadAgendaTest, ADelayedCallpointIsHeldAndGoesFirstThen) {
  Draw(2);
  agenda_->Delayed("statistics");
  agenda_->Delayed("statistics");
  EXPECT_THAT(Words(Draw()), ElementsAre("last-state-change 2"));
  EXPECT_FALSE(agenda_->IsEmpty());
  agenda_->NoLongerDelayed("statistics");
  EXPECT_THAT(Words(Draw()), IsEmpty());
  agenda_->NoLongerDelayed("statistics");
  EXPECT_THAT(Words(Draw()), ElementsAre("rmep-ccms-received 2"));
}

TEST_F(ReadAgendaTest, WhatReturnsIsDrawnAgainInItsOrder) {
  Items drawn = Draw(3);
  agenda_->Return({drawn.begin() + 1, drawn.end()});
  EXPECT_FALSE(agenda_->IsEmpty());
  EXPECT_THAT(Words(Draw()),
              ElementsAre("rmep-ccms-received 1", "last-state-change 2", "rmep-ccms-received 2"));
}

TEST_F(ReadAgendaTest, WhatReturnsOfADelayedCallpointIsHeldBeforeTheRestOfIt) {
  Items drawn = Draw(2);
  agenda_->Delayed("statistics");
  agenda_->Return({drawn[1]});
  EXPECT_THAT(Words(Draw()), ElementsAre("last-state-change 2"));
  agenda_->NoLongerDelayed("statistics");
  EXPECT_THAT(Words(Draw()), ElementsAre("rmep-ccms-received 1", "rmep-ccms-received 2"));
}

TEST_F(ReadAgendaTest, WhatWasHeldAndReturnsIsHeldAgain) {
  agenda_->Delayed("statistics");
  EXPECT_THAT(Words(Draw()), ElementsAre("last-state-change 1", "last-state-change 2"));
  agenda_->NoLongerDelayed("statistics");
  const Items drawn = Draw();
  ASSERT_THAT(Words(drawn), ElementsAre("rmep-ccms-received 1", "rmep-ccms-received 2"));
  agenda_->Delayed("statistics");
  agenda_->Return(drawn);
  EXPECT_THAT(Words(Draw()), IsEmpty());
  agenda_->NoLongerDelayed("statistics");
  EXPECT_THAT(Words(Draw()), ElementsAre("rmep-ccms-received 1", "rmep-ccms-received 2"));
}

}  // namespace
}  // namespace agentd::test
