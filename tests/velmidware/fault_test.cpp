#include "fault.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdlib>

#include "velmidware.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const velmw::Fault kFault{"cfm-app", 1, "GetNextKey", "status.cpp", 12, "no key left"};

class Fault : public testing::Test {
 protected:
  void SetUp() override { setenv("CFM_LOG", "stderr", 1); }
  void TearDown() override { unsetenv("CFM_LOG"); }
};

TEST_F(Fault, IsOneLineThatAMachineCanRead) {
  EXPECT_EQ(velmw::FaultLine(kFault),
            "cfm-app: fault severity=1 function=GetNextKey file=status.cpp line=12: no key left");
  velmw::Fault fault = kFault;
  fault.message = "two\nlines";
  EXPECT_THAT(velmw::FaultLine(fault), HasSubstr(": two\\nlines"));
}

TEST_F(Fault, FillsTheFieldsOfTheJournal) {
  EXPECT_THAT(
      velmw::FaultFields(kFault),
      ElementsAre("MESSAGE=no key left", "PRIORITY=2", "FAULT_SEVERITY=1", "CODE_FILE=status.cpp",
                  "CODE_LINE=12", "CODE_FUNC=GetNextKey", "SYSLOG_IDENTIFIER=cfm-app"));
  velmw::Fault fault = kFault;
  fault.severity = 0;
  EXPECT_THAT(velmw::FaultFields(fault), testing::Contains("PRIORITY=3"));
}

TEST_F(Fault, GoesToTheErrorStream) {
  velmw::SetProgramName("cfm-app");
  testing::internal::CaptureStderr();
  velmw_gen_fault(0, "main", "main", 25, "cfm-app error in velmw loop");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "cfm-app: fault severity=0 function=main file=main line=25: "
            "cfm-app error in velmw loop\n");
}

TEST_F(Fault, WithoutTextsIsStillReported) {
  velmw::SetProgramName("cfm-app");
  testing::internal::CaptureStderr();
  velmw_gen_fault(1, nullptr, nullptr, 0, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "cfm-app: fault severity=1 function= file= line=0: \n");
}

// Returns where it was called from, which is one of the frames it printed.
__attribute__((noinline)) void* PrintBacktrace() {
  velmw_print_backtrace();
  return __builtin_return_address(0);
}

TEST(Backtrace, HoldsTheCallers) {
  testing::internal::CaptureStderr();
  void* const caller = PrintBacktrace();
  const std::string text = testing::internal::GetCapturedStderr();
  char address[32];
  std::snprintf(address, sizeof(address), "[0x%" PRIxPTR "]",
                reinterpret_cast<std::uintptr_t>(caller));
  EXPECT_THAT(text, HasSubstr(address));
  EXPECT_THAT(text, HasSubstr("velmidware_test"));
}

}  // namespace
