// Records of single MEPs: how they go.
#include <string>

#include "daemon/status_record_fixture.h"

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;

using StatusRemoval = StatusRecord;
using StatusRemovalDeath = StatusRecord;

TEST_F(StatusRemoval, ALocalMepThatGoesTakesItsRecordAlong) {
  UpdateLocal();
  Happened();
  status_.LocalMepDelete("A", "x", 5);
  EXPECT_THAT(Happened(), ElementsAre(kOpen, "cdb_delete 40 " + Local(0, ""), kClose));
  UpdateLocal();
  EXPECT_THAT(Happened(), Contains("cdb_create 40 " + Local(1, "")));
}

TEST_F(StatusRemoval, ARemoteMepThatGoesTakesItsRecordAlongWhicheverLocalMepSaysSo) {
  UpdateRemote();
  Happened();
  status_.RemoteMepDelete("A", "x", 6, 7);
  EXPECT_THAT(Happened(), ElementsAre(kOpen, "cdb_delete 40 " + Remote(0, ""), kClose));
  UpdateRemote();
  EXPECT_THAT(Happened(), Contains("cdb_create 40 " + Remote(1, "")));
}

TEST_F(StatusRemoval, AKeyThatIsFreeAgainComesBackAfterAllOthers) {
  UpdateLocal();
  status_.LocalMepDelete("A", "x", 5);
  for (int mep = 1; mep < 8192; ++mep) {
    status_.LocalMepUpdate("B", "y", mep, LocalStatus());
  }
  Happened();
  UpdateRemote();
  EXPECT_THAT(Happened(), Contains("cdb_create 40 " + Remote(0, "")));
}

TEST_F(StatusRemovalDeath, TheRecordOfAMepThatIsGoneHasNoMep) {
  UpdateLocal();
  UpdateRemote();
  status_.LocalMepDelete("A", "x", 5);
  status_.RemoteMepDelete("A", "x", 5, 7);
  EXPECT_EXIT(MepOf(0), ExitedWithCode(1), HasSubstr("Invalid key 0"));
  EXPECT_EXIT(MepOf(1), ExitedWithCode(1), HasSubstr("Invalid key 1"));
}

TEST_F(StatusRemoval, TheAgeOfARemoteMepOutlivesItsRecord) {
  fake::SetUptime(160);
  UpdateRemote();
  status_.RemoteMepDelete("A", "x", 5, 7);
  EXPECT_EQ(LastStateChange(0), "reply 7: C_STR(1min ago)");
}

TEST_F(StatusRemoval, ADeleteOfAnUnknownMepIsLoggedAndChangesNothing) {
  UpdateLocal();
  Happened();
  status_.LocalMepDelete("A", "x", 6);
  status_.RemoteMepDelete("A", "y", 5, 7);
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("12 status.cpp LocalMepDelete: Ignoring un-existent local MEP delete "
                          "(MD: A, MA: x, MEP: 6)",
                          "12 status.cpp RemoteMepDelete: Ignoring un-existent remote MEP delete "
                          "(MD: A, MA: y, Local-MEP: 5, Remote-MEP: 7)"));
  EXPECT_THAT(Happened(), ElementsAre(HasSubstr("zlog "), HasSubstr("zlog ")));
  UpdateLocal();
  EXPECT_EQ(Happened(), InSession({}, LocalWrites(0)));
}

TEST_F(StatusRemovalDeath, ARecordThatCannotBeDeletedIsFatal) {
  UpdateLocal();
  fake::FailCdb(Local(0, ""), "no session");
  EXPECT_EXIT(status_.LocalMepDelete("A", "x", 5), ExitedWithCode(1),
              FatalFault("LocalMepDelete",
                         "Failed to remove local MEP status (md: A, ma: x, mep: 5): no session",
                         "status.cpp"));
  UpdateRemote();
  fake::FailCdb(Remote(1, ""), "no session");
  EXPECT_EXIT(status_.RemoteMepDelete("A", "x", 5, 7), ExitedWithCode(1),
              FatalFault("RemoteMepDelete",
                         "Failed to remove remote MEP status (md: A, ma: x, local-mep: 5, "
                         "remote-mep: 7): no session",
                         "status.cpp"));
}

}  // namespace
}  // namespace test
