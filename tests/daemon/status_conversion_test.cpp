// What the status handler makes of the CFM manager's values.
#include <string>

#include "daemon/status_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

// The only fault so far, without its line.
void ExpectFault(const std::string& function, const std::string& message) {
  ASSERT_EQ(fake::Faults().size(), 1u);
  const fake::Fault& fault = fake::Faults().front();
  EXPECT_EQ(fault.severity, 0);
  EXPECT_EQ(fault.function, function);
  EXPECT_EQ(fault.file, "status.cpp");
  EXPECT_GT(fault.line, 0);
  EXPECT_EQ(fault.message, message);
  EXPECT_TRUE(fault.padded_with_zeros);
  EXPECT_THAT(fake::Events(), ElementsAre("velmw_gen_fault"));
  fake::Faults().clear();
  fake::Events().clear();
}

using Conversion = Status;
using ConversionDeath = Status;

TEST_F(Conversion, AMacAddressIsLowerCaseHexadecimalWithColons) {
  EXPECT_EQ(cfm::Status::ConvertMacConfd({{0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}}),
            "00:1a:2b:3c:4d:5e");
  EXPECT_EQ(cfm::Status::ConvertMacConfd({{0xff, 0x80, 0x0f, 0xf0, 0x01, 0x00}}),
            "ff:80:0f:f0:01:00");
}

TEST_F(Conversion, InterfaceStatusesHaveTheirValues) {
  const int values[] = {5, 0, 1, 2, 3, 4, 5, 6};
  for (int status = 0; status < 8; ++status) {
    EXPECT_EQ(cfm::Status::ConvertInterfaceStatus(cfm::InterfaceStatus{status}), values[status]);
  }
  EXPECT_THAT(fake::Faults(), IsEmpty());
}

TEST_F(Conversion, AnotherInterfaceStatusIsAFaultAndSeven) {
  for (const int status : {8, 9, -1, 1 << 30}) {
    EXPECT_EQ(cfm::Status::ConvertInterfaceStatus(cfm::InterfaceStatus{status}), 7);
    ExpectFault("ConvertInterfaceStatus",
                "Unsupported Interface Status: " + std::to_string(status));
  }
}

TEST_F(Conversion, PortStatusesHaveTheirValues) {
  EXPECT_EQ(cfm::Status::ConvertPortState(cfm::PortStatus{0}), 2);
  EXPECT_EQ(cfm::Status::ConvertPortState(cfm::PortStatus{1}), 0);
  EXPECT_EQ(cfm::Status::ConvertPortState(cfm::PortStatus{2}), 1);
  EXPECT_THAT(fake::Faults(), IsEmpty());
}

TEST_F(Conversion, AnotherPortStatusIsAFaultAndThree) {
  for (const int status : {3, -1}) {
    EXPECT_EQ(cfm::Status::ConvertPortState(cfm::PortStatus{status}), 3);
    ExpectFault("ConvertPortState", "Unsupported Port State: " + std::to_string(status));
  }
}

TEST_F(Conversion, BlockStatesHaveTheirTexts) {
  EXPECT_EQ(cfm::Status::ConvertBlockState(cfm::BlockState{0}), "N/A");
  EXPECT_EQ(cfm::Status::ConvertBlockState(cfm::BlockState{1}), "Forwarding");
  EXPECT_EQ(cfm::Status::ConvertBlockState(cfm::BlockState{2}), "Blocked");
  EXPECT_THAT(fake::Faults(), IsEmpty());
}

TEST_F(Conversion, AnotherBlockStateIsAFaultAndInvalid) {
  for (const int state : {3, -1}) {
    EXPECT_EQ(cfm::Status::ConvertBlockState(cfm::BlockState{state}), "Invalid");
    ExpectFault("ConvertBlockState", "Unsupported Block State: " + std::to_string(state));
  }
}

TEST_F(Conversion, RemoteMepStatesKeepTheirValues) {
  for (int state = 0; state < 4; ++state) {
    EXPECT_EQ(cfm::Status::ConvertRemoteMepState(static_cast<cfm::en_rmep_state>(state)), state);
  }
}

TEST_F(ConversionDeath, AnotherRemoteMepStateIsFatal) {
  for (const int state : {4, -1}) {
    EXPECT_EXIT(cfm::Status::ConvertRemoteMepState(static_cast<cfm::en_rmep_state>(state)),
                ExitedWithCode(1),
                FatalFault("ConvertRemoteMepState",
                           "Invalid Remote MEP State " + std::to_string(state), "status.cpp"));
  }
}

}  // namespace
}  // namespace test
