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

class ShowStatus : public test::CommandTest {
 protected:
  // The agent has these records, each at its path, and answers Get with them.
  void Have(const std::map<std::string, TreeNode>& records) {
    for (const auto& [path, record] : records) {
      agent_.ChangeRecord(path, record);
    }
    agent_.on_request = [records, this](const agent::Request& request) {
      agent::Reply reply = Read(records, request.get().path());
      for (const std::string& warning : warnings_) {
        reply.add_warnings(warning);
      }
      return reply;
    };
  }
  void HaveBoth() {
    Have({{test::LocalPath(0), test::WholeLocalRecord()},
          {test::RemotePath(1), test::WholeRemoteRecord()}});
  }
  // What is written, as when the data provider is lost.
  void HaveWritten() {
    Have({{test::LocalPath(0), test::LocalRecord()}, {test::RemotePath(1), test::RemoteRecord()}});
    warnings_ = {"the provider cfm-app is lost"};
  }

  std::vector<std::string> PathsRead() const {
    std::vector<std::string> paths;
    for (const agent::Request& request : agent_.Requests()) {
      EXPECT_EQ(request.get().datastore(), agent::DATASTORE_OPERATIONAL);
      EXPECT_EQ(request.get().format(), agent::FORMAT_TREE);
      paths.push_back(request.get().path());
    }
    return paths;
  }

  static agent::Reply Read(const std::map<std::string, TreeNode>& records,
                           const std::string& path) {
    agent::Reply reply;
    if (path == "/status/oam/cfm") {
      TreeNode cfm = test::Container("cfm", {});
      for (const auto& [at, record] : records) {
        cfm.children.push_back(record);
      }
      *reply.mutable_node() = test::ToNode(cfm);
      return reply;
    }
    if (const auto found = records.find(path); found != records.end()) {
      *reply.mutable_node() = test::ToNode(found->second);
      return reply;
    }
    agent::Error* const error = reply.add_errors();
    error->set_message("there is nothing");
    error->set_rule("data-missing");
    return reply;
  }

  std::vector<std::string> warnings_;
  test::FakeAgent agent_{Directory()};
};

TEST_F(ShowStatus, EverythingIsOneRequest) {
  HaveBoth();
  const auto outcome = Run({"show", "status"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("east  blue  5    ge1        down"));
  EXPECT_THAT(outcome.out, HasSubstr("rmep-ok  1h 2min 5s ago"));
  EXPECT_THAT(PathsRead(), testing::ElementsAre("/status/oam/cfm"));
}

TEST_F(ShowStatus, WhatIsSelectedIsReadRecordByRecord) {
  HaveBoth();
  const auto remote = Run({"show", "status", "east", "blue", "7"});
  EXPECT_EQ(remote.status, 0) << remote.err;
  EXPECT_THAT(remote.out, testing::StartsWith("MD    MA    LOCAL-MEP  REMOTE-MEP"));
  EXPECT_THAT(PathsRead(), testing::ElementsAre(test::RemotePath(1)));
  const auto ma = Run({"show", "status", "east", "blue"});
  EXPECT_THAT(ma.out, HasSubstr("ge1"));
  EXPECT_THAT(ma.out, HasSubstr("rmep-ok"));
}

TEST_F(ShowStatus, WhatIsSelectedAndHasNoStatusIsRefused) {
  HaveBoth();
  const auto outcome = Run({"show", "status", "west"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "cfmctl: no status of MD west\n");
}

TEST_F(ShowStatus, ARecordThatGoesAwayMeanwhileIsLeftOut) {
  HaveBoth();
  agent_.ChangeRecord(test::LocalPath(2), test::LocalRecord("2", "6"));
  const auto outcome = Run({"show", "statistics", "east", "--format", "json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(PathsRead(), testing::Contains(test::LocalPath(2)));
  EXPECT_THAT(outcome.out, HasSubstr("\"mep\": 5"));
  EXPECT_THAT(outcome.out, Not(HasSubstr("\"mep\": 6")));
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
  agent_.on_request = [](const agent::Request&) { return Read({}, "/elsewhere"); };
  const auto outcome = Run({"show", "status"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "no MEP has a status\n");
}

TEST_F(ShowStatus, WarningsGoToStandardErrorAndWhatIsThereIsShown) {
  HaveWritten();
  const auto outcome = Run({"show", "status"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "cfmctl: warning: the provider cfm-app is lost\n");
  EXPECT_THAT(outcome.out, HasSubstr("east  blue  5    -          -"));
  EXPECT_THAT(outcome.out, HasSubstr("rmep-ok"));
}

TEST_F(ShowStatus, AWarningOfManyRecordsIsToldOnce) {
  HaveWritten();
  const auto outcome = Run({"show", "status", "east"});
  EXPECT_EQ(outcome.err, "cfmctl: warning: the provider cfm-app is lost\n");
}

TEST_F(ShowStatus, OfManyWarningsTheFirstAreTold) {
  HaveBoth();
  for (int i = 1; i <= 12; ++i) {
    warnings_.push_back("leaf " + std::to_string(i));
  }
  const auto outcome = Run({"show", "status"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, testing::EndsWith("cfmctl: warning: leaf 10\n"
                                             "cfmctl: warning: and 2 more of the kind\n"));
}

TEST_F(ShowStatus, WhereEverythingIsMissingTheExitStatusSaysSo) {
  HaveWritten();
  const auto outcome = Run({"show", "statistics"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.out, HasSubstr("east  blue  5    -          -"));
  EXPECT_THAT(outcome.err, HasSubstr("warning: the provider cfm-app is lost\n"
                                     "cfmctl: nothing of this can be had now"));
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
  std::vector<std::string> LastParameters() const {
    const agent::Invoke invoke = agent_.Requests().back().invoke();
    EXPECT_EQ(invoke.operation(), "clear-statistics");
    std::vector<std::string> parameters;
    for (const auto& parameter : invoke.parameters()) {
      parameters.push_back(parameter.name() + '=' + parameter.value());
    }
    return parameters;
  }
};

TEST_F(ClearStatistics, PassesOnWhatIsGiven) {
  const auto all = Run({"clear-statistics"});
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.out, "statistics cleared: every MEP\n");
  EXPECT_THAT(LastParameters(), IsEmpty());
  const auto one = Run({"clear-statistics", "--md", "east", "--ma", "blue", "--mep", "5"});
  EXPECT_EQ(one.out, "statistics cleared: MD east, MA blue, MEP 5\n");
  EXPECT_THAT(LastParameters(), testing::ElementsAre("md=east", "ma=blue", "mep=5"));
  Run({"clear-statistics", "--ma", "blue"});
  EXPECT_THAT(LastParameters(), testing::ElementsAre("ma=blue"));
}

TEST_F(ClearStatistics, ARefusalIsNamed) {
  agent_.on_request = [](const agent::Request&) {
    agent::Reply reply;
    reply.add_errors()->set_message("nobody carries out clear_cfm_statistics");
    return reply;
  };
  const auto outcome = Run({"clear-statistics"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "cfmctl: the statistics were not cleared\n  nobody carries out clear_cfm_statistics\n");
  EXPECT_EQ(Run({"clear-statistics", "--mep", "8192"}).status, 2);
}

}  // namespace
}  // namespace cfmctl
