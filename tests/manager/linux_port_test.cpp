// A Linux interface as a port, on a pair of virtual Ethernet devices in a
// network namespace of the test's own. Needs the right to make one.
#include "linux_port.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <stdlib.h>

#include <memory>
#include <string>
#include <vector>

#include "loop.h"
#include "process.h"

namespace {

using cfm::InterfaceStatus;
using cfm::engine::Bytes;
using cfm::engine::ByteView;
using testing::ElementsAre;

// A CFM frame of VLAN 100 as it is on the line; `tag_type` 0: without a tag.
Bytes Frame(unsigned tag_type, unsigned ether_type = 0x8902) {
  Bytes frame{0x01, 0x80, 0xc2, 0x00, 0x00, 0x35, 0x02, 0x00, 0x00, 0x00, 0x00, 0x07};
  if (tag_type != 0) {
    cfm::engine::AppendU16(frame, tag_type);
    cfm::engine::AppendU16(frame, 7U << 13 | 100);
  }
  cfm::engine::AppendU16(frame, ether_type);
  frame.resize(80, 0xaa);
  return frame;
}

class End {
 public:
  End(sd_event* loop, cfm::LinkMonitor& links, const std::string& device)
      : port(loop, links, {.name = "p", .device = device}, cfm::LogCategory("linux_port_test"),
             {.on_frame =
                  [this](ByteView frame) { frames.emplace_back(frame.begin(), frame.end()); },
              .on_change = [this] { ++changes; }}) {}

  bool Is(InterfaceStatus status) const {
    return port.Facts() && port.Facts()->interface_status == status;
  }

  std::vector<Bytes> frames;
  int changes = 0;
  cfm::LinuxPort port;
};

class LinuxPort : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(setenv("CFM_LOG", "stderr", 1), 0);
    if (unshare(CLONE_NEWNET) < 0 || !Ip("link add left type veth peer name right")) {
      GTEST_SKIP() << "no right to make network devices";
    }
    links_ = std::make_unique<cfm::LinkMonitor>(loop_.Get());
  }
  static bool Ip(const std::string& arguments) {
    return test::Run({"sh", "-c", "ip " + arguments}).status == 0;
  }
  static void BothUp() {
    ASSERT_TRUE(Ip("link set left up"));
    ASSERT_TRUE(Ip("link set right up"));
  }
  bool AwaitUp(const End& end) {
    return loop_.RunUntil([&] { return end.Is(InterfaceStatus::kIsUp); });
  }

  Loop loop_;
  std::unique_ptr<cfm::LinkMonitor> links_;
};

TEST_F(LinuxPort, ShowsTheLink) {
  ASSERT_TRUE(Ip("link set left address 02:00:00:00:00:05"));
  End left(loop_.Get(), *links_, "left");
  loop_.RunReady();
  EXPECT_TRUE(left.Is(InterfaceStatus::kIsDown));
  EXPECT_THAT(left.port.Facts()->mac.octets, ElementsAre(2, 0, 0, 0, 0, 5));
  BothUp();
  ASSERT_TRUE(AwaitUp(left));
  ASSERT_TRUE(Ip("link set right down"));
  ASSERT_TRUE(loop_.RunUntil([&] { return !left.Is(InterfaceStatus::kIsUp); }));
  EXPECT_TRUE(left.port.Facts().has_value());
}

TEST_F(LinuxPort, FollowsADeviceThatGoesAndComesBack) {
  End left(loop_.Get(), *links_, "left");
  BothUp();
  ASSERT_TRUE(AwaitUp(left));
  ASSERT_TRUE(Ip("link del left"));
  ASSERT_TRUE(loop_.RunUntil([&] { return !left.port.Facts(); }));
  ASSERT_TRUE(Ip("link add left type veth peer name right"));
  BothUp();
  ASSERT_TRUE(AwaitUp(left));
  End right(loop_.Get(), *links_, "right");
  right.port.Send(Frame(0x8100));
  ASSERT_TRUE(loop_.RunUntil([&] { return !left.frames.empty(); }));
}

TEST_F(LinuxPort, HandsFramesOverAsTheyAreOnTheLine) {
  BothUp();
  End left(loop_.Get(), *links_, "left");
  End right(loop_.Get(), *links_, "right");
  ASSERT_TRUE(AwaitUp(left));
  ASSERT_TRUE(AwaitUp(right));
  for (const Bytes& frame : {Frame(0x8100), Frame(0), Frame(0x88a8)}) {
    left.port.Send(frame);
    ASSERT_TRUE(loop_.RunUntil([&] { return !right.frames.empty(); }));
    EXPECT_THAT(right.frames, ElementsAre(frame));
    right.frames.clear();
  }
}

TEST_F(LinuxPort, HearsNeitherOtherTrafficNorItself) {
  BothUp();
  End left(loop_.Get(), *links_, "left");
  End right(loop_.Get(), *links_, "right");
  ASSERT_TRUE(AwaitUp(left));
  ASSERT_TRUE(AwaitUp(right));
  left.port.Send(Frame(0x8100, 0x0800));
  left.port.Send(Frame(0, 0x88cc));
  left.port.Send(Bytes(10, 0xff));
  left.port.Send(Frame(0x8100));
  ASSERT_TRUE(loop_.RunUntil([&] { return !right.frames.empty(); }));
  loop_.RunReady();
  EXPECT_THAT(right.frames, ElementsAre(Frame(0x8100)));
  EXPECT_TRUE(left.frames.empty());
}

TEST_F(LinuxPort, IsNotThereWithoutItsDevice) {
  End none(loop_.Get(), *links_, "nonesuch");
  EXPECT_FALSE(none.port.Facts().has_value());
  none.port.Send(Frame(0x8100));
}

}  // namespace
