// show status, show statistics and clear-statistics.
#include "command_fixture.h"
#include "fakes.h"
#include "records.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;

// "leaf leaf=value" of each filter.
std::vector<std::string> FiltersOf(const agent::Get& get) {
  std::vector<std::string> filters;
  for (const agent::EntryFilter& filter : get.filters()) {
    std::string text;
    for (const std::string& leaf : filter.leaves()) {
      text += (text.empty() ? "" : " ") + leaf;
    }
    filters.push_back(text + '=' + filter.value());
  }
  return filters;
}

class ShowStatus : public test::CommandTest {
 protected:
  // The agent has these records; the MA blue of the MD east is configured.
  void Have(const std::vector<TreeNode>& records) {
    agent_.on_request = [records, this](const agent::Request& request) {
      agent::Reply reply;
      if (request.get().datastore() == agent::DATASTORE_RUNNING) {
        *reply.mutable_node() = test::ToNode(test::Root(test::Cfm()));
        return reply;
      }
      *reply.mutable_node() = test::ToNode(test::Container("cfm", records));
      for (const std::string& warning : warnings_) {
        reply.add_warnings(warning);
      }
      return reply;
    };
  }
  void HaveBoth() { Have({test::WholeLocalRecord(), test::WholeRemoteRecord()}); }
  // What is written, as when the data provider is lost.
  void HaveWritten() {
    Have({test::LocalRecord(), test::RemoteRecord()});
    warnings_ = {"the provider cfm-app is lost"};
  }

  agent::Get OnlyRead() const {
    const auto requests = agent_.Requests();
    EXPECT_EQ(requests.size(), 1U);
    return requests.empty() ? agent::Get() : requests.front().get();
  }

  std::vector<std::string> warnings_;
  test::FakeAgent agent_{Directory()};
};

TEST_F(ShowStatus, IsOneRequestForWhatTheTablesShow) {
  HaveBoth();
  const auto outcome = Run({"show", "status"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("east  blue  5    ge1        down"));
  EXPECT_THAT(outcome.out, HasSubstr("rmep-ok  1h 2min 5s ago"));
  const agent::Get get = OnlyRead();
  EXPECT_EQ(get.datastore(), agent::DATASTORE_OPERATIONAL);
  EXPECT_EQ(get.format(), agent::FORMAT_TREE);
  EXPECT_EQ(get.path(), "/status/oam/cfm");
  EXPECT_THAT(get.leaves(), IsSupersetOf({"md", "remote-mep", "level", "last-state-change"}));
  EXPECT_THAT(get.leaves(), Not(Contains("mep-ccms-sent")));
  EXPECT_THAT(get.leaves(), Not(Contains("vlan-list"))) << "no column shows it";
  EXPECT_THAT(FiltersOf(get), IsEmpty());
}

TEST_F(ShowStatus, StatisticsAskForNoOtherComputedLeaf) {
  HaveBoth();
  Run({"show", "statistics"});
  EXPECT_THAT(OnlyRead().leaves(), IsSupersetOf({"md", "mep-ccms-sent", "rmep-ccms-received"}));
  EXPECT_THAT(OnlyRead().leaves(), Not(Contains("level")));
  EXPECT_THAT(OnlyRead().leaves(), Not(Contains("last-state-change")));
}

TEST_F(ShowStatus, DocumentsAreOfAllLeavesOfTheView) {
  HaveBoth();
  Run({"show", "status", "--format", "xml"});
  EXPECT_THAT(OnlyRead().leaves(), IsSupersetOf({"vlan-list", "fault-alarm-time"}));
  EXPECT_THAT(OnlyRead().leaves(), Not(Contains("mep-ccms-sent")));
}

TEST_F(ShowStatus, TheAgentIsAskedForWhatIsSelectedOnly) {
  HaveBoth();
  const auto remote = Run({"show", "status", "east", "blue", "7"});
  EXPECT_EQ(remote.status, 0) << remote.err;
  EXPECT_THAT(remote.out, testing::StartsWith("MD    MA    LOCAL-MEP  REMOTE-MEP"));
  EXPECT_THAT(FiltersOf(OnlyRead()),
              ElementsAre("md=east", "ma=blue", "mep local-mep remote-mep=7"));
  const auto ma = Run({"show", "status", "east", "blue"});
  EXPECT_THAT(ma.out, HasSubstr("ge1"));
  EXPECT_THAT(ma.out, HasSubstr("rmep-ok"));
}

TEST_F(ShowStatus, WhatIsSelectedAndHasNoStatusIsRefusedWithTheReason) {
  Have({});
  const auto mistyped = Run({"show", "status", "north"});
  EXPECT_EQ(mistyped.status, 1);
  EXPECT_EQ(mistyped.err, "cfmctl: no status of MD north: it is not configured\n");
  const auto silent = Run({"show", "status", "east", "blue", "5"});
  EXPECT_EQ(silent.status, 1);
  EXPECT_EQ(silent.err,
            "cfmctl: no status of MD east, MA blue, MEP 5: it is configured, and nobody has "
            "reported it (\"cfmctl status\" tells who is there)\n");
}

TEST_F(ShowStatus, StatisticsAreTheirOwnView) {
  HaveBoth();
  const auto outcome = Run({"show", "statistics", "east", "blue", "5"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("18446744073709551615  98             2\n"));
  EXPECT_THAT(outcome.out, Not(HasSubstr("rmep-ok")));
}

TEST_F(ShowStatus, DocumentsHoldWhatIsSelected) {
  HaveBoth();
  const auto xml = Run({"show", "status", "east", "blue", "7", "--format", "xml"});
  EXPECT_EQ(xml.status, 0) << xml.err;
  EXPECT_THAT(xml.out, HasSubstr("<last-state-change>1h 2min 5s ago</last-state-change>"));
  EXPECT_THAT(xml.out, Not(HasSubstr("<local>")));
  EXPECT_THAT(xml.out, Not(HasSubstr("rmep-ccms-received")));
  const auto json = Run({"show", "status", "--format", "json"});
  EXPECT_THAT(json.out, HasSubstr("\"vlan-list\": [10, 20]"));
}

TEST_F(ShowStatus, NoStatusAtAllIsNoError) {
  Have({});
  const auto outcome = Run({"show", "status"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "no MEP has a status\n");
}

TEST_F(ShowStatus, WhatIsThereIsShownAndWhatIsMissingHasAnExitStatus) {
  HaveWritten();
  for (const char* what : {"status", "statistics"}) {
    const auto outcome = Run({"show", what});
    EXPECT_EQ(outcome.status, 5) << what;
    EXPECT_EQ(outcome.err,
              "cfmctl: warning: the provider cfm-app is lost\n"
              "cfmctl: something is missing in what is shown (\"cfmctl status\" tells who is "
              "there)\n");
    EXPECT_THAT(outcome.out, HasSubstr("east  blue  5    -          -")) << what;
  }
}

TEST_F(ShowStatus, OfManyWarningsTheFirstAreTold) {
  HaveBoth();
  for (int i = 1; i <= 12; ++i) {
    warnings_.push_back("leaf " + std::to_string(i));
  }
  const auto outcome = Run({"show", "status"});
  EXPECT_EQ(outcome.status, 5);
  EXPECT_THAT(outcome.err, HasSubstr("cfmctl: warning: leaf 10\n"
                                     "cfmctl: warning: and 2 more of the kind\n"));
}

TEST_F(ShowStatus, ARefusalIsNamed) {
  agent_.on_request = [](const agent::Request&) {
    agent::Reply reply;
    reply.add_errors()->set_message("not for you");
    return reply;
  };
  const auto outcome = Run({"show", "status"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "cfmctl: the status cannot be shown\n  not for you\n");
}

TEST_F(ShowStatus, WrongWordsAreWrongUsage) {
  EXPECT_EQ(Run({"show", "status", "east", "blue", "0"}).status, 2);
  EXPECT_EQ(Run({"show", "status", "east", "blue", "five"}).status, 2);
  EXPECT_EQ(Run({"show", "status", "east", "blue", "5", "6"}).status, 2);
  EXPECT_EQ(Run({"show", "manager", "east"}).status, 2);
  EXPECT_THAT(agent_.Requests(), IsEmpty());
}

class ClearStatistics : public ShowStatus {
 protected:
  ClearStatistics() { Have({}); }

  // Empty when the agent was not asked to clear anything.
  std::vector<std::string> Parameters() const {
    std::vector<std::string> parameters;
    for (const agent::Request& request : agent_.Requests()) {
      if (request.has_invoke()) {
        EXPECT_EQ(request.invoke().operation(), "clear-statistics");
        parameters = {"clear"};
        for (const auto& parameter : request.invoke().parameters()) {
          parameters.push_back(parameter.name() + '=' + parameter.value());
        }
      }
    }
    return parameters;
  }
};

TEST_F(ClearStatistics, PassesOnWhatIsGivenAndClaimsNoMore) {
  const test::FakeManager manager(Directory(), {});
  const auto all = Run({"clear-statistics"});
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.out, "clearing requested: every MEP\n");
  EXPECT_THAT(Parameters(), ElementsAre("clear"));
  const auto one = Run({"clear-statistics", "--md", "east", "--ma", "blue", "--mep", "5"});
  EXPECT_EQ(one.out, "clearing requested: MD east, MA blue, MEP 5\n");
  EXPECT_THAT(Parameters(), ElementsAre("clear", "md=east", "ma=blue", "mep=5"));
  Run({"clear-statistics", "--ma", "blue"});
  EXPECT_THAT(Parameters(), ElementsAre("clear", "ma=blue"));
}

TEST_F(ClearStatistics, NamesThatAreNotConfiguredAreRefused) {
  const test::FakeManager manager(Directory(), {});
  const auto outcome = Run({"clear-statistics", "--md", "east", "--mep", "8"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "cfmctl: the statistics were not cleared: MD east, MEP 8 is not configured\n");
  EXPECT_THAT(Parameters(), IsEmpty());
}

TEST_F(ClearStatistics, WithoutAManagerNothingIsRequested) {
  const auto outcome = Run({"clear-statistics"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, testing::StartsWith("cfmctl: the statistics were not cleared: cannot "
                                               "reach the CFM manager at "));
  EXPECT_THAT(Parameters(), IsEmpty());
}

TEST_F(ClearStatistics, AManagerThatHangsClearsThemLater) {
  const test::FakeServer manager(Directory() / "cfm-managerd.sock", test::HangUntilClosed);
  const auto outcome = Run({"clear-statistics", "--timeout", "0.2"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("warning: the CFM manager at"));
  EXPECT_EQ(outcome.out, "clearing requested: every MEP\n");
}

TEST_F(ClearStatistics, ARefusalIsNamed) {
  const test::FakeManager manager(Directory(), {});
  agent_.on_request = [](const agent::Request&) {
    agent::Reply reply;
    reply.add_errors()->set_message("nobody carries out clear_cfm_statistics");
    return reply;
  };
  const auto outcome = Run({"clear-statistics"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "cfmctl: the statistics were not cleared\n  nobody carries out clear_cfm_statistics\n");
}

}  // namespace
}  // namespace cfmctl
