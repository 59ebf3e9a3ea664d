// Records of single MEPs: how they appear and change.
#include <string>
#include <vector>

#include "daemon/status_record_fixture.h"

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;

using StatusRecordDeath = StatusRecord;

TEST_F(StatusRecord, ANewLocalMepGetsARecordUnderKey0) {
  UpdateLocal();
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("10 status.cpp LocalMepUpdate: Local MEP (MD: A, MA: x, MEP: 5) status "
                          "created with key: 0"));
  EXPECT_EQ(Happened(),
            InSession({"cdb_create 40 " + Local(0, ""),
                       "zlog Local MEP (MD: A, MA: x, MEP: 5) status created with key: 0"},
                      LocalWrites(0)));
  EXPECT_THAT(MepOf(0), HasSubstr("(MD A, MA x, MEP 5)"));
}

TEST_F(StatusRecord, ASecondStatusOfALocalMepRewritesAllLeavesUnderItsKey) {
  UpdateLocal();
  Happened();
  UpdateLocal();
  EXPECT_EQ(Happened(), InSession({}, LocalWrites(0)));
}

TEST_F(StatusRecord, ANewRemoteMepGetsARecordUnderTheNextKey) {
  UpdateLocal();
  Happened();
  UpdateRemote();
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("10 status.cpp RemoteMepUpdate: Remote MEP (MD: A, MA: x, Local MEP: 5, "
                          "Remote MEP: 7) status created with key: 1"));
  EXPECT_EQ(Happened(), InSession({"cdb_create 40 " + Remote(1, ""),
                                   "zlog Remote MEP (MD: A, MA: x, Local MEP: 5, Remote MEP: 7) "
                                   "status created with key: 1"},
                                  RemoteWrites(1)));
  EXPECT_THAT(MepOf(1), HasSubstr("(MD A, MA x, MEP 7)"));
}

TEST_F(StatusRecord, ASecondStatusOfARemoteMepRewritesAllLeavesUnderItsKey) {
  UpdateRemote();
  Happened();
  UpdateRemote();
  EXPECT_EQ(Happened(), InSession({}, RemoteWrites(0)));
}

TEST_F(StatusRecord, EveryLastStateChangeOfARemoteMepIsKept) {
  fake::SetUptime(160);
  UpdateRemote();
  EXPECT_EQ(LastStateChange(0), "reply 7: C_STR(1min ago)");
  cfm::st_rmep_status status = RemoteStatus();
  status.last_state_change = 158;
  status_.RemoteMepUpdate("A", "x", 5, 7, status);
  EXPECT_EQ(LastStateChange(0), "reply 7: C_STR(2s ago)");
}

TEST_F(StatusRecord, ALastStateChangeHas64Bits) {
  constexpr long kLater = 1L << 33;
  cfm::st_rmep_status status = RemoteStatus();
  status.last_state_change = kLater;
  fake::SetUptime(kLater + 5);
  status_.RemoteMepUpdate("A", "x", 5, 7, status);
  EXPECT_EQ(LastStateChange(0), "reply 7: C_STR(5s ago)");
}

TEST_F(StatusRecordDeath, ALocalMepHasNoLastStateChange) {
  UpdateLocal();
  EXPECT_EXIT(
      LastStateChange(0), ExitedWithCode(1),
      FatalFault("GetLastChange", "Error getting last change: Invalid key 0", "status.cpp"));
}

TEST_F(StatusRecord, ALocalRecordThatTakesTheKeyOfARemoteOneHasItsAge) {
  fake::SetUptime(160);
  UpdateRemote();
  status_.ConfdConnected(ELEM_CONFD_PHASE_2);
  status_.InvalidateAllStatus();
  Happened();
  UpdateLocal();
  EXPECT_THAT(Happened(), Contains("cdb_create 40 " + Local(0, "")));
  EXPECT_EQ(LastStateChange(0), "reply 7: C_STR(1min ago)");
}

TEST_F(StatusRecord, DefectsAreLettersAndTheLastOneIsTheHighest) {
  const struct {
    bool defects[cfm::kDefectCount];
    const char* present;
    const char* highest;
  } kRows[] = {
      {{false, false, false, false, false}, "-", "-"},
      {{true, false, false, false, false}, "A", "A"},
      {{false, true, false, false, false}, "S", "S"},
      {{false, false, true, false, false}, "R", "R"},
      {{false, false, false, true, false}, "I", "I"},
      {{false, false, false, false, true}, "X", "X"},
      {{true, false, true, false, false}, "AR", "R"},
      {{true, true, true, true, true}, "ASRIX", "X"},
  };
  for (const auto& row : kRows) {
    cfm::st_lmep_status status = LocalStatus();
    std::copy(std::begin(row.defects), std::end(row.defects), status.defects);
    Happened();
    status_.LocalMepUpdate("A", "x", 5, status);
    const auto happened = Happened();
    EXPECT_THAT(happened,
                Contains("cdb_set_elem 40 " + Local(0, "defects C_STR(") + row.present + ")"));
    EXPECT_THAT(happened, Contains("cdb_set_elem 40 " + Local(0, "highest-priority-defect C_STR(") +
                                   row.highest + ")"));
  }
}

TEST_F(StatusRecord, AnUnknownInterfaceStatusIsAFaultAndItsFallbackIsWritten) {
  cfm::st_lmep_status status = LocalStatus();
  status.tx_interface_status = cfm::InterfaceStatus{9};
  status.tx_rdi = false;
  status_.LocalMepUpdate("A", "x", 5, status);
  ASSERT_EQ(fake::Faults().size(), 1u);
  EXPECT_EQ(fake::Faults().front().message, "Unsupported Interface Status: 9");
  const auto happened = Happened();
  EXPECT_THAT(happened, Contains("cdb_set_elem 40 " + Local(0, "tx-rdi C_ENUM_VALUE(0)")));
  EXPECT_THAT(happened,
              Contains("cdb_set_elem 40 " + Local(0, "tx-interface-status-tlv C_ENUM_VALUE(7)")));
}

// A value is converted when its leaf is written.
TEST_F(StatusRecord, AFaultComesBetweenTheWrites) {
  cfm::st_lmep_status status = LocalStatus();
  status.tx_port_status = cfm::PortStatus{9};
  UpdateLocal();
  Happened();
  status_.LocalMepUpdate("A", "x", 5, status);
  std::vector<std::string> expected = LocalWrites(0);
  expected[8] = "cdb_set_elem 40 " + Local(0, "tx-port-status-tlv C_ENUM_VALUE(3)");
  expected.insert(expected.begin() + 8, "velmw_gen_fault");
  EXPECT_EQ(Happened(), InSession({}, expected));
}

TEST_F(StatusRecord, AFaultComesBetweenTheWritesOfARemoteMepToo) {
  cfm::st_rmep_status status = RemoteStatus();
  status.rx_interface_status = cfm::InterfaceStatus{9};
  status.rx_port_status = cfm::PortStatus{9};
  UpdateRemote();
  Happened();
  status_.RemoteMepUpdate("A", "x", 5, 7, status);
  std::vector<std::string> expected = RemoteWrites(0);
  expected[6] = "cdb_set_elem 40 " + Remote(0, "rx-interface-status-tlv C_ENUM_VALUE(7)");
  expected[7] = "cdb_set_elem 40 " + Remote(0, "rx-port-status-tlv C_ENUM_VALUE(3)");
  expected.insert(expected.begin() + 7, "velmw_gen_fault");
  expected.insert(expected.begin() + 6, "velmw_gen_fault");
  EXPECT_EQ(Happened(), InSession({}, expected));
  ASSERT_EQ(fake::Faults().size(), 2u);
  EXPECT_EQ(fake::Faults()[0].message, "Unsupported Interface Status: 9");
  EXPECT_EQ(fake::Faults()[1].message, "Unsupported Port State: 9");
}

TEST_F(StatusRecord, EveryBlockStateIsWritten) {
  const struct {
    int state;
    const char* text;
  } kStates[] = {{0, "N/A"}, {1, "Forwarding"}, {2, "Blocked"}, {3, "Invalid"}};
  for (const auto& row : kStates) {
    cfm::st_lmep_status status = LocalStatus();
    status.block_state = cfm::BlockState{row.state};
    Happened();
    status_.LocalMepUpdate("A", "x", 5, status);
    EXPECT_THAT(Happened(),
                Contains("cdb_set_elem 40 " + Local(0, "block-state C_STR(") + row.text + ")"));
  }
}

TEST_F(StatusRecord, EveryRemoteMepStateIsWritten) {
  for (int state = 0; state < 4; ++state) {
    cfm::st_rmep_status status = RemoteStatus();
    status.state = static_cast<cfm::en_rmep_state>(state);
    Happened();
    status_.RemoteMepUpdate("A", "x", 5, 7, status);
    EXPECT_THAT(Happened(), Contains("cdb_set_elem 40 " + Remote(0, "state C_ENUM_VALUE(") +
                                     std::to_string(state) + ")"));
  }
}

TEST_F(StatusRecord, AnRdiThatIsReceivedIsWrittenAsOne) {
  cfm::st_rmep_status status = RemoteStatus();
  status.rx_rdi = true;
  status_.RemoteMepUpdate("A", "x", 5, 7, status);
  EXPECT_THAT(Happened(), Contains("cdb_set_elem 40 " + Remote(0, "rx-rdi C_ENUM_VALUE(1)")));
}

TEST_F(StatusRecordDeath, AnUnknownRemoteMepStateIsFatal) {
  cfm::st_rmep_status status = RemoteStatus();
  status.state = static_cast<cfm::en_rmep_state>(4);
  EXPECT_EXIT(status_.RemoteMepUpdate("A", "x", 5, 7, status), ExitedWithCode(1),
              FatalFault("ConvertRemoteMepState", "Invalid Remote MEP State 4", "status.cpp"));
}

TEST_F(StatusRecord, ALocalRecordThatCannotBeCreatedIsGivenUpAndItsKeyIsLost) {
  fake::FailCdb(Local(0, ""), "no space");
  UpdateLocal();
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("12 status.cpp LocalMepUpdate: Failed to create local MEP status entry: "
                          "MD A - MA x - MEP 5 (no space)"));
  EXPECT_THAT(Happened(), ElementsAre(kOpen, "cdb_create 40 " + Local(0, ""),
                                      HasSubstr("zlog Failed to create local"), kClose));
  UpdateLocal();
  EXPECT_THAT(Happened(), Contains("cdb_create 40 " + Local(1, "")));
}

TEST_F(StatusRecord, ARemoteRecordThatCannotBeCreatedIsGivenUpAndItsKeyIsLost) {
  fake::FailCdb(Remote(0, ""), "no space");
  UpdateRemote();
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("12 status.cpp RemoteMepUpdate: Failed to create remote MEP status "
                          "entry: MD A - MA x - Local MEP 5 - Remote MEP 7"));
  EXPECT_THAT(Happened(), ElementsAre(kOpen, "cdb_create 40 " + Remote(0, ""),
                                      HasSubstr("zlog Failed to create remote"), kClose));
  UpdateRemote();
  EXPECT_THAT(Happened(), Contains("cdb_create 40 " + Remote(1, "")));
}

// Nothing is kept under it, and the pool is empty once the other 8191 are taken.
TEST_F(StatusRecordDeath, TheKeyOfALocalRecordThatCannotBeCreatedDoesNotComeBack) {
  fake::FailCdb(Local(0, ""), "no space");
  UpdateLocal();
  EXPECT_EXIT(MepOf(0), ExitedWithCode(1), HasSubstr("Invalid key 0"));
  for (int mep = 1; mep < 8192; ++mep) {
    status_.LocalMepUpdate("B", "y", mep, LocalStatus());
  }
  EXPECT_EXIT(UpdateLocal(), ExitedWithCode(1), HasSubstr("No more keys"));
}

TEST_F(StatusRecordDeath, TheKeyOfARemoteRecordThatCannotBeCreatedDoesNotComeBack) {
  fake::FailCdb(Remote(0, ""), "no space");
  UpdateRemote();
  EXPECT_EXIT(MepOf(0), ExitedWithCode(1), HasSubstr("Invalid key 0"));
  EXPECT_EXIT(LastStateChange(0), ExitedWithCode(1),
              HasSubstr("Error getting last change: Invalid key 0"));
  for (int mep = 1; mep < 8192; ++mep) {
    status_.RemoteMepUpdate("B", "y", 5, mep, RemoteStatus());
  }
  EXPECT_EXIT(UpdateRemote(), ExitedWithCode(1), HasSubstr("No more keys"));
}

TEST_F(StatusRecord, ALocalLeafThatCannotBeWrittenIsLoggedAndTheOthersAreWritten) {
  const char* const kLeaves[] = {"md",
                                 "ma",
                                 "mep",
                                 "mac-address",
                                 "tx-rdi",
                                 "defects",
                                 "highest-priority-defect",
                                 "tx-interface-status-tlv",
                                 "tx-port-status-tlv",
                                 "block-state"};
  UpdateLocal();
  Happened();
  for (const char* leaf : kLeaves) {
    fake::FailCdb(Local(0, leaf), std::string("bad ") + leaf);
  }
  UpdateLocal();
  const std::string start =
      "11 status.cpp LocalMepUpdate: Error to set /status/oam/cfm/local{%x}/.";
  std::vector<std::string> expected = {start + " md: A key: 0 (bad md)",
                                       start + " ma: x key: 0 (bad ma)",
                                       start + " mep: 5 key: 0 (bad mep)"};
  for (std::size_t i = 3; i < std::size(kLeaves); ++i) {
    expected.push_back(start + " md: A ma: x mep: 5 key: 0 (bad " + kLeaves[i] + ")");
  }
  EXPECT_EQ(fake::LogTexts(), expected);
  std::vector<std::string> writes;
  for (const std::string& event : Happened()) {
    if (event.starts_with("cdb_set_elem")) {
      writes.push_back(event);
    }
  }
  EXPECT_EQ(writes, LocalWrites(0));
}

TEST_F(StatusRecord, ARemoteLeafThatCannotBeWrittenIsLoggedAndTheOthersAreWritten) {
  const char* const kLeaves[] = {"md",
                                 "ma",
                                 "local-mep",
                                 "remote-mep",
                                 "mac-address",
                                 "rx-rdi",
                                 "rx-interface-status-tlv",
                                 "rx-port-status-tlv",
                                 "state",
                                 "rx-sender-id"};
  UpdateRemote();
  Happened();
  for (const char* leaf : kLeaves) {
    fake::FailCdb(Remote(0, leaf), std::string("bad ") + leaf);
  }
  fake::SetUptime(101);
  UpdateRemote();
  const std::string start =
      "11 status.cpp RemoteMepUpdate: Error to set /status/oam/cfm/remote{%x}/.";
  std::vector<std::string> expected = {start + " md: A key: 0 (bad md)",
                                       start + " ma: x key: 0 (bad ma)",
                                       start + " local mep: 5 key: 0 (bad local-mep)",
                                       start + " remote mep: 7 key: 0 (bad remote-mep)"};
  for (std::size_t i = 4; i < std::size(kLeaves); ++i) {
    expected.push_back(start + " md: A ma: x lmep: 5 rmep: 7 key: 0 (bad " + kLeaves[i] + ")");
  }
  EXPECT_EQ(fake::LogTexts(), expected);
  std::vector<std::string> writes;
  for (const std::string& event : Happened()) {
    if (event.starts_with("cdb_set_elem")) {
      writes.push_back(event);
    }
  }
  EXPECT_EQ(writes, RemoteWrites(0));
  EXPECT_EQ(LastStateChange(0), "reply 7: C_STR(1s ago)");
}

// Nothing asks whether there is a session, or whether ConfD is connected.
TEST_F(StatusRecord, UpdatesAndDeletesGoToTheSocketAsItIs) {
  status_.SetConnection(nullptr);
  fake::SetSessionSocket(-1);
  UpdateLocal();
  status_.LocalMepDelete("A", "x", 5);
  const auto happened = Happened();
  EXPECT_EQ(happened.front(), "open operational read=0 connection=0");
  EXPECT_THAT(happened, Contains("cdb_create -1 " + Local(0, "")));
  EXPECT_THAT(happened, Contains("cdb_delete -1 " + Local(0, "")));
  EXPECT_EQ(fake::OpenSessions(), 0);
}

TEST_F(StatusRecordDeath, MoreRecordsThanKeysAreFatal) {
  for (int mep = 0; mep < 8192; ++mep) {
    status_.LocalMepUpdate("B", "y", mep, LocalStatus());
  }
  EXPECT_EXIT(UpdateLocal(), ExitedWithCode(1),
              FatalFault("GetNextKey", "No more keys available to create a new status entry",
                         "status.cpp"));
}

}  // namespace
}  // namespace test
