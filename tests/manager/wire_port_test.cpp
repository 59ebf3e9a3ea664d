// Two ends of a virtual wire in one loop.
#include "wire_port.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "loop.h"
#include "temporary_directory.h"
#include "unix_address.h"
#include "wire_mac.h"

namespace {

using cfm::InterfaceStatus;
using cfm::engine::ByteView;
using testing::ElementsAre;
using testing::IsEmpty;

// A port, and what it told.
class End {
 public:
  End(sd_event* loop, const std::filesystem::path& path)
      : port_(loop, {.name = "w", .path = path, .mac = {{2, 0, 0, 0, 0, 1}}},
              cfm::LogCategory("wire_port_test"),
              {.on_frame =
                   [this](ByteView frame) { frames.emplace_back(frame.begin(), frame.end()); },
               .on_change = [this] { changes.push_back(IsUp()); }}) {}

  bool IsUp() const { return port_.Facts()->interface_status == InterfaceStatus::kIsUp; }
  void Send(const std::string& frame) {
    port_.Send({reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size()});
  }

  std::vector<std::string> frames;
  std::vector<bool> changes;  // whether it was up after each

 private:
  cfm::WirePort port_;
};

class Wire : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(setenv("CFM_LOG", "stderr", 1), 0); }

  std::unique_ptr<End> Start() { return std::make_unique<End>(loop_.Get(), path_); }
  void Cut() const { std::ofstream(path_.native() + ".cut") << ""; }
  void Mend() const { std::filesystem::remove(path_.native() + ".cut"); }
  // Whether frames get through, both ways.
  bool Works(End& left, End& right) {
    if (!loop_.RunUntil([&] { return left.IsUp() && right.IsUp(); })) {
      return false;
    }
    left.frames.clear();
    right.frames.clear();
    left.Send("from left");
    right.Send("from right");
    return loop_.RunUntil([&] { return !left.frames.empty() && !right.frames.empty(); }) &&
           left.frames.front() == "from right" && right.frames.front() == "from left";
  }
  // Somebody who is no wire.
  ipc::UniqueFd Stranger() const {
    ipc::UniqueFd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const ipc::UnixAddress address(path_);
    EXPECT_EQ(connect(socket.Get(), address.Get(), address.Size()), 0);
    return socket;
  }
  static void Say(const ipc::UniqueFd& socket, const std::string& packet) {
    EXPECT_EQ(send(socket.Get(), packet.data(), packet.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(packet.size()));
  }

  Loop loop_;
  test::TemporaryDirectory directory_;
  std::filesystem::path path_ = directory_.Path() / "wire";
};

TEST_F(Wire, IsDownWhileOneEndIsAlone) {
  const auto left = Start();
  loop_.RunReady();
  EXPECT_FALSE(left->IsUp());
  EXPECT_THAT(left->changes, IsEmpty());
  left->Send("nobody hears this");
}

TEST_F(Wire, ConnectsTwoEndsThatNameTheSamePath) {
  const auto left = Start();
  const auto right = Start();
  EXPECT_TRUE(Works(*left, *right));
  EXPECT_THAT(left->changes, ElementsAre(true));
  EXPECT_THAT(right->changes, ElementsAre(true));
}

TEST_F(Wire, KeepsFramesWholeAndInOrder) {
  const auto left = Start();
  const auto right = Start();
  ASSERT_TRUE(Works(*left, *right));
  right->frames.clear();
  const std::vector<std::string> sent{"a", std::string(1522, 'b'), std::string(9000, 'c'),
                                      std::string("\0\0", 2), "e"};
  for (const std::string& frame : sent) {
    left->Send(frame);
  }
  ASSERT_TRUE(loop_.RunUntil([&] { return right->frames.size() == sent.size(); }));
  EXPECT_EQ(right->frames, sent);
}

TEST_F(Wire, LosesFramesThatNobodyTakesInAndGoesOn) {
  const auto left = Start();
  const auto right = Start();
  ASSERT_TRUE(Works(*left, *right));
  for (int i = 0; i < 10'000; ++i) {
    left->Send("flood");
  }
  loop_.RunReady();
  EXPECT_TRUE(Works(*left, *right));
}

class WireDeath : public Wire, public testing::WithParamInterface<bool> {};

TEST_P(WireDeath, ComesUpAgainWhenTheOtherEndIsBack) {
  auto first = Start();
  auto second = Start();
  ASSERT_TRUE(Works(*first, *second));
  const bool first_dies = GetParam();
  std::unique_ptr<End>& dying = first_dies ? first : second;
  std::unique_ptr<End>& staying = first_dies ? second : first;
  for (int times = 0; times < 3; ++times) {
    dying.reset();
    ASSERT_TRUE(loop_.RunUntil([&] { return !staying->IsUp(); }));
    dying = Start();
    ASSERT_TRUE(Works(*first, *second));
  }
}

INSTANTIATE_TEST_SUITE_P(FirstOrSecond, WireDeath, testing::Bool());

TEST_F(Wire, TakesOverAPathWhoseOwnerDiedWithoutCleaningUp) {
  {
    const ipc::UniqueFd dead(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const ipc::UnixAddress address(path_);
    ASSERT_EQ(bind(dead.Get(), address.Get(), address.Size()), 0);
    ASSERT_EQ(listen(dead.Get(), 1), 0);
  }
  const auto left = Start();
  const auto right = Start();
  EXPECT_TRUE(Works(*left, *right));
}

TEST_F(Wire, MeetsAlsoWhenTheOtherTookThePathOver) {
  const auto left = Start();
  // Both came at once: the other has not seen that left listens.
  std::filesystem::remove(path_);
  const auto right = Start();
  EXPECT_TRUE(Works(*left, *right));
}

TEST_F(Wire, LeavesNothingBehind) {
  auto left = Start();
  auto right = Start();
  ASSERT_TRUE(Works(*left, *right));
  left.reset();
  right.reset();
  EXPECT_TRUE(std::filesystem::is_empty(directory_.Path()));
}

TEST_F(Wire, IsCutAndMendedByAFile) {
  const auto left = Start();
  const auto right = Start();
  ASSERT_TRUE(Works(*left, *right));
  for (int times = 0; times < 3; ++times) {
    Cut();
    ASSERT_TRUE(loop_.RunUntil([&] { return !left->IsUp() && !right->IsUp(); }));
    Mend();
    ASSERT_TRUE(Works(*left, *right));
  }
}

TEST_F(Wire, StaysDownWhenItIsCutFromTheStart) {
  Cut();
  const auto left = Start();
  const auto right = Start();
  loop_.RunReady();
  EXPECT_FALSE(left->IsUp());
  EXPECT_FALSE(std::filesystem::exists(path_));
  Mend();
  EXPECT_TRUE(Works(*left, *right));
}

TEST_F(Wire, SendsAThirdEndAway) {
  const auto left = Start();
  const auto right = Start();
  ASSERT_TRUE(Works(*left, *right));
  const ipc::UniqueFd third = Stranger();
  Say(third, "cfm wire 1");
  loop_.RunReady();
  char byte;
  EXPECT_LT(recv(third.Get(), &byte, 1, 0), 1);
  EXPECT_TRUE(Works(*left, *right));
}

TEST_F(Wire, SomeoneWhoSaysNothingDoesNotHoldThePlace) {
  const auto left = Start();
  const ipc::UniqueFd mute = Stranger();
  loop_.RunReady();
  EXPECT_FALSE(left->IsUp());
  const auto right = Start();
  EXPECT_TRUE(Works(*left, *right));
}

class WireGarbage : public Wire, public testing::WithParamInterface<std::string> {};

TEST_P(WireGarbage, DoesNotComeUpByIt) {
  const auto left = Start();
  {
    const ipc::UniqueFd stranger = Stranger();
    Say(stranger, GetParam());
    loop_.RunReady();
    EXPECT_FALSE(left->IsUp());
  }
  const auto right = Start();
  EXPECT_TRUE(Works(*left, *right));
}

INSTANTIATE_TEST_SUITE_P(Kinds, WireGarbage,
                         testing::Values("", "cfm wire 2", "cfm wire 1 and more",
                                         std::string(60'000, 'x'), std::string("\0", 1)));

TEST_F(Wire, PassesOnAnyPacketAndDropsThoseThatAreTooLong) {
  const auto left = Start();
  const ipc::UniqueFd peer = Stranger();
  Say(peer, "cfm wire 1");
  Say(peer, "any bytes");
  Say(peer, std::string(cfm::Port::kMaxFrameBytes + 1, 'x'));
  Say(peer, "after");
  ASSERT_TRUE(loop_.RunUntil([&] { return left->frames.size() == 2; }));
  EXPECT_THAT(left->frames, ElementsAre("any bytes", "after"));
}

TEST_F(Wire, LeavesAFileAloneThatIsNoWire) {
  std::ofstream(path_) << "precious";
  const auto left = Start();
  loop_.RunReady();
  EXPECT_FALSE(left->IsUp());
  EXPECT_TRUE(std::filesystem::is_regular_file(path_));
  std::filesystem::remove(path_);
  const auto right = Start();
  EXPECT_TRUE(Works(*left, *right));
}

TEST_F(Wire, WaitsForItsDirectory) {
  path_ = directory_.Path() / "later" / "wire";
  const auto left = Start();
  loop_.RunReady();
  EXPECT_FALSE(left->IsUp());
  std::filesystem::create_directory(path_.parent_path());
  const auto right = Start();
  EXPECT_TRUE(Works(*left, *right));
}

TEST(WireMac, IsStableLocalAndOfItsOwn) {
  const cfm::st_mac mac = cfm::WireMac("/run/cfm", "eth1");
  EXPECT_EQ(mac.octets[0], 0x02);
  const auto same = [&](const cfm::st_mac& other) {
    return std::memcmp(mac.octets, other.octets, sizeof(mac)) == 0;
  };
  EXPECT_TRUE(same(cfm::WireMac("/run/./cfm", "eth1")));
  EXPECT_FALSE(same(cfm::WireMac("/run/cfm", "eth2")));
  EXPECT_FALSE(same(cfm::WireMac("/run/cfm-b", "eth1")));
}

}  // namespace
