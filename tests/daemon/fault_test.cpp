#include "app/fault.h"

#include "daemon/death.h"
#include "daemon/platform_test.h"

namespace test {
namespace {

using testing::ExitedWithCode;

using Fault = PlatformTest;
using FaultDeath = PlatformTest;

TEST_F(Fault, ANonFatalOneIsRaisedWithoutABacktraceAndExecutionGoesOn) {
  cfm::RaiseFault("Function", "file.cpp", 12, "value %d of %s", 3, "something");
  ASSERT_EQ(fake::Faults().size(), 1u);
  EXPECT_EQ(fake::Faults()[0].severity, 0);
  EXPECT_EQ(fake::Faults()[0].function, "Function");
  EXPECT_EQ(fake::Faults()[0].file, "file.cpp");
  EXPECT_EQ(fake::Faults()[0].line, 12);
  EXPECT_EQ(fake::Faults()[0].message, "value 3 of something");
  EXPECT_TRUE(fake::Faults()[0].padded_with_zeros);
  EXPECT_THAT(fake::Events(), testing::ElementsAre("velmw_gen_fault"));
}

TEST_F(Fault, AMessageIsCutTo299Characters) {
  cfm::RaiseFault("Function", "file.cpp", 12, "%s", std::string(400, 'x').c_str());
  EXPECT_EQ(fake::Faults()[0].message, std::string(299, 'x'));
}

TEST_F(FaultDeath, AFatalOneWritesABacktraceFirstAndExitsWithStatus1) {
  EXPECT_EXIT(cfm::RaiseFatalFault("Function", "file.cpp", 12, "value %d", 3), ExitedWithCode(1),
              "^backtrace\nfault severity=1 function=Function file=file.cpp line=12 padded=1 "
              "message=\\[value 3\\]\n$");
}

TEST_F(FaultDeath, AFatalOneMayHaveAnEmptyMessage) {
  EXPECT_EXIT(cfm::RaiseFatalFault("Function", "file.cpp", 12), ExitedWithCode(1),
              "^backtrace\nfault severity=1 function=Function file=file.cpp line=12 padded=1 "
              "message=\\[\\]\n$");
}

TEST_F(FaultDeath, AFatalMessageIsCutTo299Characters) {
  EXPECT_EXIT(cfm::RaiseFatalFault("Function", "file.cpp", 12, "%s", std::string(400, 'x').c_str()),
              ExitedWithCode(1), FatalFault("Function", std::string(299, 'x'), "file.cpp"));
}

}  // namespace
}  // namespace test
