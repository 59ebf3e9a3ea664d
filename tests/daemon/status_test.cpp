// What the status handler is made of, and where notifications end up.
#include "status/status.h"

#include <memory>
#include <string>
#include <vector>

#include "daemon/status_fixture.h"
#include "status/status_callpoint.h"

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Handler = Status;

TEST_F(Handler, ItsConstructionIsLogged) {
  const cfm::Status status(fake::Category(), &receiver_, &client_);
  EXPECT_THAT(fake::LogTexts(), ElementsAre("10 status.cpp Status: Status handling initialized"));
}

TEST_F(Handler, TheFrameworksOptionsAreAllOff) {
  const cfm::Status status(fake::Category(), &receiver_, &client_);
  EXPECT_THAT(fake::StatusHandlerOptions(), ElementsAre(false, false, false));
}

TEST_F(Handler, ItsCallpointsAreTheStatisticsAndTheComputedLeavesInTheirOrder) {
  std::vector<std::string> names;
  for (velconfd::DataHandler::Callpoint* callpoint : status_.GetCallpoints()) {
    names.emplace_back(callpoint->GetCallpoint());
  }
  EXPECT_THAT(names, ElementsAre("statistics", "ccm-interval", "direction", "fault-alarm-time",
                                 "fault-reset-time", "interface", "level", "primary-vlan-id",
                                 "remote-meps", "vlan-list", "last-state-change"));
  names.erase(names.begin());
  EXPECT_EQ(cfm::Status::InitCallpointIds(), names);
}

TEST_F(Handler, TheFirstCallpointIsTheStatisticsCallpoint) {
  const auto& callpoints = status_.GetCallpoints();
  EXPECT_EQ(callpoints.front(), status_.GetStatisticsCallpoint());
  for (std::size_t i = 1; i < callpoints.size(); ++i) {
    EXPECT_NE(dynamic_cast<cfm::StatusCallpoint*>(callpoints[i]), nullptr) << i;
  }
}

TEST_F(Handler, TheCallpointsKnowTheMepsOfItsRecords) {
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  fake::SetLeaf("/config/oam/cfm/md{A}/level", 6);
  confd_trans_ctx transaction = Transaction(7);
  confd_hkeypath_t keypath = Keypath({Tag(cfm::tag::kLevel), Int64(0), Tag(cfm::tag::kLocal)});
  for (std::size_t i = 1; i < status_.GetCallpoints().size(); ++i) {
    Happened();
    EXPECT_EQ(status_.GetCallpoints()[i]->GetElemCallback(&transaction, &keypath), CONFD_OK);
    EXPECT_THAT(Happened(),
                ElementsAre("open running read=1 connection=1", "reply 7: C_INT32(6)", "close"));
  }
}

TEST_F(Handler, EveryCallpointLogsInItsCategory) {
  confd_hkeypath_t keypath = Keypath({Tag(cfm::tag::kLevel), Int64(0), Tag(cfm::tag::kLocal)});
  for (velconfd::DataHandler::Callpoint* callpoint : status_.GetCallpoints()) {
    EXPECT_EQ(callpoint->GetNextCallback(nullptr, &keypath, -1), CONFD_ERR);
  }
  std::vector<std::string> expected(
      11, "zlog Get next called for unexpected XML Tag of leaf 0x7dec02bd");
  expected.front() = "zlog GetNextCallback (not implemented) called to /0x7ef235bf{0}/0x7dec02bd";
  EXPECT_EQ(Happened(), expected);
}

TEST_F(Handler, TheStatisticsCallpointAsksItsClient) {
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  fake::SetUptime(1000);
  confd_trans_ctx transaction = Transaction(7);
  confd_hkeypath_t keypath = Keypath({Tag(cfm::tag::kMepCcmsSent), Int64(0)});
  EXPECT_EQ(status_.GetStatisticsCallpoint()->GetElemCallback(&transaction, &keypath),
            CONFD_DELAYED_RESPONSE);
  EXPECT_EQ(fake::StatisticsRequests(), 1);
}

TEST_F(Handler, EveryNotificationHasItsOwnEffect) {
  receiver_.HandleStatusLocalMep("A", "x", 65535, LocalStatus());
  EXPECT_THAT(fake::LogTexts(), ElementsAre("10 status.cpp LocalMepUpdate: Local MEP (MD: A, MA: "
                                            "x, MEP: 65535) status created with key: 0"));
  Happened();
  receiver_.HandleStatusRemoteMep("A", "x", 5, 7, RemoteStatus());
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("10 status.cpp RemoteMepUpdate: Remote MEP (MD: A, MA: x, Local MEP: 5, "
                          "Remote MEP: 7) status created with key: 1"));
  Happened();
  receiver_.HandleRemovedLocalMep("A", "x", 65535);
  EXPECT_THAT(Happened(), Contains("cdb_delete 40 /status/oam/cfm/local{0}/"));
  receiver_.HandleRemovedRemoteMep("A", "x", 5, 7);
  EXPECT_THAT(Happened(), Contains("cdb_delete 40 /status/oam/cfm/remote{1}/"));
  receiver_.HandleStatisticsLocalMep("A", "x", 65535, {});
  EXPECT_THAT(Happened(),
              ElementsAre("zlog Local MEP statistics received (MD A, MA x, MEP 65535)"));
  receiver_.HandleStatisticsRemoteMep("A", "x", 5, 65535, {});
  EXPECT_THAT(Happened(),
              ElementsAre("zlog Remote MEP statistics received (MD A, MA x, MEP 65535)"));
  receiver_.HandleStatisticsFinished();
  EXPECT_THAT(Happened(), ElementsAre("zlog End of statistics receiving",
                                      "zlog Statistics received but it was not waiting for it."));
  receiver_.HandleStatusInvalidated();
  EXPECT_THAT(Happened(), ElementsAre(HasSubstr("zlog ConfD not ready, scheduling")));
}

TEST_F(Handler, ItsDestructionUnregistersBeforeAnythingElseGoes) {
  auto status = std::make_unique<cfm::Status>(fake::Category(), &receiver_, &client_);
  std::shared_ptr<void> watch(nullptr, [](void*) { fake::Event("unregistered"); });
  receiver_.Register({}, {}, {}, {}, {}, {}, [held = std::move(watch)] {}, {});
  Happened();
  status.reset();
  std::vector<std::string> expected(11, "~Callpoint");
  expected.insert(expected.begin(), "unregistered");
  expected.emplace_back("~StatusHandler");
  EXPECT_EQ(Happened(), expected);
}

TEST_F(Handler, ItsCallpointsAreDestroyedInTheirOrder) {
  auto status = std::make_unique<cfm::Status>(fake::Category(), &receiver_, &client_);
  const std::vector<const velconfd::DataHandler::Callpoint*> callpoints(
      status->GetCallpoints().begin(), status->GetCallpoints().end());
  status.reset();
  EXPECT_EQ(fake::DestroyedCallpoints(), callpoints);
}

TEST_F(Handler, NotificationsAfterItsDestructionAreDropped) {
  auto status = std::make_unique<cfm::Status>(fake::Category(), &receiver_, &client_);
  status.reset();
  Happened();
  receiver_.HandleStatusLocalMep("A", "x", 5, LocalStatus());
  receiver_.HandleStatisticsFinished();
  receiver_.HandleStatusInvalidated();
  EXPECT_THAT(Happened(), IsEmpty());
}

}  // namespace
}  // namespace test
