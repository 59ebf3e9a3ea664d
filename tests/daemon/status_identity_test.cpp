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
}

}  // namespace
}  // namespace test
