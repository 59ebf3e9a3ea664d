// MEPs that share one identity, and so one key.
#include <string>

#include "daemon/status_record_fixture.h"

namespace test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using StatusIdentity = StatusRecord;

TEST_F(StatusIdentity, TwoLocalMepsThatSeeOneRemoteMepShareItsRecord) {
  UpdateRemote(7, 1);
  Happened();
  UpdateRemote(7, 2);
  EXPECT_THAT(Happened(), AllOf(Contains("cdb_set_elem 40 " + Remote(0, "local-mep C_INT32(2)")),
                                Not(Contains(HasSubstr("cdb_create")))));
}

TEST_F(StatusIdentity, ARemoteMepWithTheIdOfALocalOneTakesItsKeyWithoutARecord) {
  UpdateLocal(7);
  fake::FailCdb(Remote(0, "md"), "no such entry");
  Happened();
  UpdateRemote(7);
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("11 status.cpp RemoteMepUpdate: Error to set "
                          "/status/oam/cfm/remote{%x}/. md: A key: 0 (no such entry)"));
  const auto happened = Happened();
  EXPECT_THAT(happened, Not(Contains(HasSubstr("cdb_create"))));
  EXPECT_THAT(happened, Contains(RemoteWrites(0).back()));
  EXPECT_THAT(MepOf(0), HasSubstr("(MD A, MA x, MEP 7)"));
}

TEST_F(StatusIdentity, ALocalMepWithTheIdOfARemoteOneTakesItsKeyWithoutARecord) {
  UpdateRemote(5, 1);
  Happened();
  UpdateLocal(5);
  EXPECT_EQ(Happened(), InSession({}, LocalWrites(0)));
  EXPECT_THAT(MepOf(0), HasSubstr("(MD A, MA x, MEP 5)"));
}

// Whichever of the two goes first takes the key along.
TEST_F(StatusIdentity, TheRemovalOfOneMakesTheOtherUnknown) {
  UpdateRemote(7);
  Happened();
  status_.LocalMepDelete("A", "x", 7);
  EXPECT_THAT(Happened(), ElementsAre(kOpen, "cdb_delete 40 " + Local(0, ""), kClose));
  status_.RemoteMepDelete("A", "x", 5, 7);
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("12 status.cpp RemoteMepDelete: Ignoring un-existent remote MEP delete "
                          "(MD: A, MA: x, Local-MEP: 5, Remote-MEP: 7)"));
  UpdateLocal(7);
  Happened();
  status_.RemoteMepDelete("A", "x", 5, 7);
  EXPECT_THAT(Happened(), ElementsAre(kOpen, "cdb_delete 40 " + Remote(1, ""), kClose));
  status_.LocalMepDelete("A", "x", 7);
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("12 status.cpp LocalMepDelete: Ignoring un-existent local MEP delete "
                          "(MD: A, MA: x, MEP: 7)"));
}

}  // namespace
}  // namespace test
