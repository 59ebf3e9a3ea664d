// The wipe of all records.
#include <memory>
#include <string>

#include "daemon/status_fixture.h"

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kLocalList = "/status/oam/cfm/local";
constexpr const char* kRemoteList = "/status/oam/cfm/remote";
constexpr const char* kPutOff =
    "ConfD not ready, scheduling an InvalidateAllStatus in ConfD connection";

// Nothing but the logged putting-off.
const std::string kPutOffRecord = std::string("12 status.cpp InvalidateAllStatus: ") + kPutOff;

class Invalidation : public Status {
 protected:
  void Connect() { status_.ConfdConnected(ELEM_CONFD_PHASE_2); }

  // Records that the operational datastore has.
  static void Publish(const char* list, int count) {
    for (int i = 0; i < count; ++i) {
      fake::AddEntry(list, i);
    }
  }
  // The CDB calls since they were asked for last.
  static std::vector<std::string> Calls() {
    std::vector<std::string> calls;
    calls.swap(fake::CdbCalls());
    return calls;
  }
};

TEST_F(Invalidation, ItDeletesEveryRecordFromTheLastToTheFirstLocalOnesFirst) {
  Publish(kLocalList, 3);
  Publish(kRemoteList, 2);
  Connect();
  status_.InvalidateAllStatus();
  EXPECT_THAT(Calls(), ElementsAre(kOpen, "cdb_num_instances 40 /status/oam/cfm/local",
                                   "cdb_delete 40 /status/oam/cfm/local[2]",
                                   "cdb_delete 40 /status/oam/cfm/local[1]",
                                   "cdb_delete 40 /status/oam/cfm/local[0]",
                                   "cdb_num_instances 40 /status/oam/cfm/remote",
                                   "cdb_delete 40 /status/oam/cfm/remote[1]",
                                   "cdb_delete 40 /status/oam/cfm/remote[0]", kClose));
  EXPECT_THAT(fake::Logs(), IsEmpty());
}

TEST_F(Invalidation, ItLogsTheListsThatAreEmpty) {
  Connect();
  status_.InvalidateAllStatus();
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("10 status.cpp InvalidateAllStatus: Not found any instance to delete on "
                          "/status/oam/cfm/local",
                          "10 status.cpp InvalidateAllStatus: Not found any instance to delete on "
                          "/status/oam/cfm/remote"));
}

TEST_F(Invalidation, AListThatCannotBeCountedIsTakenAsEmpty) {
  Publish(kLocalList, 1);
  fake::FailCdb(kLocalList, "no session");
  Publish(kRemoteList, 1);
  Connect();
  status_.InvalidateAllStatus();
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("10 status.cpp InvalidateAllStatus: Not found any instance to delete on "
                          "/status/oam/cfm/local"));
  EXPECT_THAT(Calls(), Contains("cdb_delete 40 /status/oam/cfm/remote[0]"));
}

TEST_F(Invalidation, KeysStartFrom0AgainAndEveryMepIsNew) {
  status_.LocalMepUpdate("A", "x", 4, LocalStatus());
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  Connect();
  status_.InvalidateAllStatus();
  Calls();
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  EXPECT_THAT(Calls(), Contains("cdb_create 40 /status/oam/cfm/local{0}/"));
}

TEST_F(Invalidation, ALocalRecordThatCannotBeDeletedStopsItAndTheMepsStayKnown) {
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  Publish(kLocalList, 3);
  Publish(kRemoteList, 2);
  fake::FailCdb("/status/oam/cfm/local[1]", "no session");
  Connect();
  Calls();
  Happened();
  status_.InvalidateAllStatus();
  EXPECT_THAT(
      fake::LogTexts(),
      ElementsAre(
          "12 status.cpp InvalidateAllStatus: Failed to remove local status ID: 1. no session"));
  EXPECT_THAT(Calls(), ElementsAre(kOpen, "cdb_num_instances 40 /status/oam/cfm/local",
                                   "cdb_delete 40 /status/oam/cfm/local[2]",
                                   "cdb_delete 40 /status/oam/cfm/local[1]", kClose));
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  EXPECT_THAT(Calls(), Not(Contains(HasSubstr("cdb_create"))));
}

TEST_F(Invalidation, ARemoteRecordThatCannotBeDeletedStopsItToo) {
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  Publish(kRemoteList, 2);
  fake::FailCdb("/status/oam/cfm/remote[1]", "no session");
  Connect();
  Calls();
  Happened();
  status_.InvalidateAllStatus();
  EXPECT_THAT(
      fake::LogTexts(),
      ElementsAre(
          HasSubstr("Not found any instance to delete on /status/oam/cfm/local"),
          "12 status.cpp InvalidateAllStatus: Failed to remove remote status ID: 1. no session"));
  EXPECT_THAT(Calls(), ElementsAre(kOpen, "cdb_num_instances 40 /status/oam/cfm/local",
                                   "cdb_num_instances 40 /status/oam/cfm/remote",
                                   "cdb_delete 40 /status/oam/cfm/remote[1]", kClose));
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  EXPECT_THAT(Calls(), Not(Contains(HasSubstr("cdb_create"))));
}

TEST_F(Invalidation, OneThatFailsFreesNoKey) {
  status_.LocalMepUpdate("A", "x", 5, LocalStatus());
  Publish(kRemoteList, 1);
  fake::FailCdb("/status/oam/cfm/remote[0]", "no session");
  Connect();
  status_.InvalidateAllStatus();
  Calls();
  status_.LocalMepUpdate("A", "x", 6, LocalStatus());
  EXPECT_THAT(Calls(), Contains("cdb_create 40 /status/oam/cfm/local{1}/"));
}

TEST_F(Invalidation, BeforeConfdIsConnectedItIsPutOffAndCarriedOutOnce) {
  Publish(kLocalList, 1);
  status_.InvalidateAllStatus();
  status_.InvalidateAllStatus();
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kPutOffRecord, kPutOffRecord));
  EXPECT_THAT(Calls(), IsEmpty());
  Connect();
  EXPECT_THAT(Calls(), Contains("cdb_delete 40 /status/oam/cfm/local[0]").Times(1));
  Connect();
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(Invalidation, AConnectionInAnyPhaseCarriesItOut) {
  status_.InvalidateAllStatus();
  status_.ConfdConnected(ELEM_CONFD_PHASE_0);
  EXPECT_THAT(Calls(), Contains("cdb_num_instances 40 /status/oam/cfm/local"));
}

TEST_F(Invalidation, AConnectionAloneDeletesNothing) {
  Connect();
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(fake::Logs(), IsEmpty());
}

TEST_F(Invalidation, AfterADisconnectionItIsPutOffAgain) {
  Connect();
  status_.ConfdDisconnected();
  status_.InvalidateAllStatus();
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kPutOffRecord));
  EXPECT_THAT(Calls(), IsEmpty());
  Connect();
  EXPECT_THAT(Calls(), Contains("cdb_num_instances 40 /status/oam/cfm/local"));
}

TEST_F(Invalidation, ADisconnectionDoesNotForgetIt) {
  status_.InvalidateAllStatus();
  status_.ConfdDisconnected();
  Connect();
  EXPECT_THAT(Calls(), Contains("cdb_num_instances 40 /status/oam/cfm/local"));
}

TEST_F(Invalidation, WithoutASocketItIsPutOffUntilTheNextConnection) {
  Connect();
  fake::SetSessionSocket(-1);
  status_.InvalidateAllStatus();
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kPutOffRecord));
  EXPECT_THAT(Calls(), ElementsAre(kOpen, kClose));
  fake::SetSessionSocket(0);
  Connect();
  EXPECT_THAT(Calls(), Contains("cdb_num_instances 0 /status/oam/cfm/local"));
}

// It counts as carried out when it begins: what puts it off again stays.
TEST_F(Invalidation, OneThatIsPutOffAgainInsideAConnectionIsCarriedOutInTheNextOne) {
  status_.InvalidateAllStatus();
  fake::SetSessionSocket(-1);
  Connect();
  EXPECT_THAT(fake::LogTexts(), ElementsAre(kPutOffRecord, kPutOffRecord));
  fake::SetSessionSocket(40);
  Calls();
  Connect();
  EXPECT_THAT(Calls(), Contains("cdb_num_instances 40 /status/oam/cfm/local"));
  Connect();
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(Invalidation, OneThatIsCarriedOutDoesNotTakeThePlaceOfOneThatWasPutOff) {
  Connect();
  fake::SetSessionSocket(-1);
  status_.InvalidateAllStatus();
  fake::SetSessionSocket(40);
  Calls();
  status_.InvalidateAllStatus();
  EXPECT_THAT(Calls(), Contains("cdb_num_instances 40 /status/oam/cfm/local"));
  Connect();
  EXPECT_THAT(Calls(), Contains("cdb_num_instances 40 /status/oam/cfm/local"));
}

TEST_F(Invalidation, OneThatFailedIsNotTriedAgain) {
  Publish(kLocalList, 1);
  fake::FailCdb("/status/oam/cfm/local[0]", "no session");
  status_.InvalidateAllStatus();
  Connect();
  Calls();
  Connect();
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(Invalidation, OneFromBeforeTheHandlerIsPutOffWhenItRegisters) {
  cfm::StatusReceiver receiver;
  receiver.HandleStatusInvalidated();
  ConnectedStatus status(fake::Category(), &receiver, &client_);
  status.SetConnection(fake::Connection(1));
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre(kPutOffRecord, "10 status.cpp Status: Status handling initialized"));
  EXPECT_THAT(Calls(), IsEmpty());
  status.ConfdConnected(ELEM_CONFD_PHASE_2);
  EXPECT_THAT(Calls(), Contains("cdb_num_instances 40 /status/oam/cfm/local"));
}

}  // namespace
}  // namespace test
