// The octets of a CCM: what is sent, and what is read.
#include "ccm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "sender_id.h"

namespace cfm::engine {
namespace {

using testing::ElementsAreArray;

constexpr st_mac kMac = {{0x02, 0x00, 0x00, 0x00, 0x00, 0x01}};

Ccm Example() {
  return {.level = 3,
          .rdi = true,
          .interval = 4,
          .sequence_number = 0x01020304,
          .mep_id = 341,
          .maid = MakeMaid("east", "blue").value(),
          .port_status = PortStatus::kUp,
          .interface_status = InterfaceStatus::kIsDown,
          .sender_id = "sw1"};
}

Ccm Decoded(const Bytes& frame) {
  return std::get<Ccm>(DecodeCcm(ParseCfmFrame(frame).value()));
}

TEST(CcmOctets, AreThoseOfTheStandard) {
  const Bytes expected = {
      0x01, 0x80, 0xc2, 0x00, 0x00, 0x33,  // CCMs of level 3
      0x02, 0x00, 0x00, 0x00, 0x00, 0x01,  // source
      0x81, 0x00, 0xe0, 0x0a,              // C-tag, priority 7, VLAN 10
      0x89, 0x02,                          // CFM
      0x60, 0x01, 0x84, 0x46,              // level 3, CCM, RDI and 1 s, offset 70
      0x01, 0x02, 0x03, 0x04,              // sequence number
      0x01, 0x55,                          // MEP 341
      0x04, 0x04, 'e',  'a',  's',  't',   // MD name, a character string
      0x02, 0x04, 'b',  'l',  'u',  'e',   // short MA name, a character string
      0,    0,    0,    0,    0,    0,    0,   0,   0,    0,  // to 48 octets
      0,    0,    0,    0,    0,    0,    0,   0,   0,    0,  //
      0,    0,    0,    0,    0,    0,    0,   0,   0,    0,  //
      0,    0,    0,    0,    0,    0,                        //
      0,    0,    0,    0,    0,    0,    0,   0,             // ITU-T's
      0,    0,    0,    0,    0,    0,    0,   0,             //
      0x01, 0x00, 0x06, 0x03, 0x07, 's',  'w', '1', 0x00,     // Sender ID: locally assigned
      0x02, 0x00, 0x01, 0x02,                                 // Port Status: psUp
      0x04, 0x00, 0x01, 0x02,                                 // Interface Status: isDown
      0x00,                                                   // End
  };
  EXPECT_THAT(EncodeCcm(Example(), kMac, 10), ElementsAreArray(expected));
}

TEST(CcmOctets, AreReadBack) {
  const Bytes bytes = EncodeCcm(Example(), kMac, 4094);
  const CfmFrame frame = ParseCfmFrame(bytes).value();
  EXPECT_EQ(frame.vlan, 4094);
  EXPECT_EQ(frame.level, 3);
  EXPECT_EQ(frame.opcode, kCcmOpcode);
  EXPECT_THAT(frame.source.octets, ElementsAreArray(kMac.octets));
  EXPECT_EQ(std::get<Ccm>(DecodeCcm(frame)), Example());
}

TEST(CcmOctets, HaveNoTlvForWhatIsNotKnown) {
  Ccm ccm = Example();
  ccm.port_status = PortStatus::kNoTlv;
  ccm.interface_status = InterfaceStatus::kNoTlv;
  ccm.sender_id.clear();
  const Bytes frame = EncodeCcm(ccm, kMac, 10);
  EXPECT_EQ(frame.size(), 18U + 74U + 1U);
  EXPECT_EQ(Decoded(frame), ccm);
}

TEST(CcmOctets, OfEveryLevelGoToTheGroupAddressOfIt) {
  for (std::uint8_t level = 0; level < 8; ++level) {
    Ccm ccm = Example();
    ccm.level = level;
    const Bytes frame = EncodeCcm(ccm, kMac, 10);
    EXPECT_EQ(frame[5], 0x30 + level);
    EXPECT_EQ(Decoded(frame).level, level);
  }
}

TEST(CcmOctets, EveryIntervalHasItsTime) {
  using namespace std::chrono_literals;
  EXPECT_EQ(IntervalTime(0), 0ns);
  EXPECT_EQ(IntervalTime(1), 3333333ns);
  EXPECT_EQ(IntervalTime(2), 10ms);
  EXPECT_EQ(IntervalTime(3), 100ms);
  EXPECT_EQ(IntervalTime(4), 1s);
  EXPECT_EQ(IntervalTime(5), 10s);
  EXPECT_EQ(IntervalTime(6), 60s);
  EXPECT_EQ(IntervalTime(7), 600s);
  EXPECT_EQ(IntervalTime(8), 0ns);
}

TEST(CcmReader, PassesOverWhatItDoesNotKnow) {
  Ccm ccm = Example();
  Bytes frame = EncodeCcm(ccm, kMac, 10);
  frame[18] |= 0x1f;                           // a later version
  frame[20] |= 0x78;                           // reserved flags
  frame.back() = 31;                           // an organization's TLV instead of the end,
  frame.insert(frame.end(), {0, 2, 7, 7});     // and
  frame.insert(frame.end(), {99, 0, 0});       // an unknown one, empty,
  frame.insert(frame.end(), {0, 1, 2, 3, 4});  // then the end and padding
  EXPECT_EQ(Decoded(frame), ccm);
}

TEST(CcmReader, TakesALongerHeader) {
  Bytes frame = EncodeCcm(Example(), kMac, 10);
  frame[21] += 3;
  frame.insert(frame.begin() + 18 + 74, {0xff, 0xff, 0xff});
  EXPECT_EQ(Decoded(frame), Example());
}

TEST(CcmReader, NeedsNoEndTlv) {
  Bytes frame = EncodeCcm(Example(), kMac, 10);
  frame.pop_back();
  EXPECT_EQ(Decoded(frame), Example());
}

TEST(CcmReader, TakesNamesOfOtherFormats) {
  const Bytes icc = {1, 32, 13, 'I', 'C', 'C', 'O', 'P', 'E', 'R', '1', '2', '3', '4', '5', '6'};
  Ccm ccm = Example();
  ccm.maid = {};
  std::ranges::copy(icc, ccm.maid.begin());
  EXPECT_EQ(Decoded(EncodeCcm(ccm, kMac, 10)), ccm);
}

TEST(CfmFrame, IsNotSeenInOtherFrames) {
  const Bytes good = EncodeCcm(Example(), kMac, 10);
  const auto with = [&good](std::size_t at, std::uint8_t octet) {
    Bytes frame = good;
    frame[at] = octet;
    return ParseCfmFrame(frame);
  };
  EXPECT_TRUE(ParseCfmFrame(good));
  EXPECT_FALSE(with(0, 0x00)) << "to a unicast address";
  EXPECT_FALSE(with(5, 0x03)) << "to another group";
  EXPECT_FALSE(with(12, 0x88)) << "with another tag";
  EXPECT_FALSE(with(17, 0x03)) << "of another EtherType";
  for (std::size_t size = 0; size < 20; ++size) {
    EXPECT_FALSE(ParseCfmFrame(ByteView(good).first(size))) << size;
  }
}

TEST(Maid, HoldsNamesOf44OctetsTogether) {
  EXPECT_TRUE(MakeMaid(std::string(43, 'd'), "a"));
  EXPECT_TRUE(MakeMaid("d", std::string(43, 'a')));
  EXPECT_TRUE(MakeMaid(std::string(22, 'd'), std::string(22, 'a')));
  EXPECT_FALSE(MakeMaid(std::string(23, 'd'), std::string(22, 'a')));
  EXPECT_FALSE(MakeMaid(std::string(44, 'd'), "a"));
  EXPECT_FALSE(MakeMaid("", "a"));
  EXPECT_FALSE(MakeMaid("d", ""));
  EXPECT_FALSE(MakeMaid(std::string(300, 'd'), "a"));
}

std::string SenderIdText(const Bytes& value) {
  std::string text;
  EXPECT_TRUE(DecodeSenderId(value, text));
  return text;
}

TEST(SenderId, IsReadableWhateverItsSubtype) {
  EXPECT_EQ(SenderIdText({3, 7, 's', 'w', '1', 0}), "sw1");
  EXPECT_EQ(SenderIdText({6, 4, 0x02, 0xab, 0, 0, 0, 0x0f}), "02:ab:00:00:00:0f");
  EXPECT_EQ(SenderIdText({5, 5, 1, 192, 0, 2, 33}), "192.0.2.33");
  EXPECT_EQ(SenderIdText({4, 7, 'a', 0, 0xff, '\\'}), "a\\x00\\xff\\x5c");
  EXPECT_EQ(SenderIdText({0}), "");
  EXPECT_EQ(SenderIdText({0, 2, 1, 2, 4, 10, 0, 0, 1}), "");
}

TEST(SenderId, IsRefusedWhenItsLengthsDoNotAddUp) {
  std::string text;
  EXPECT_FALSE(DecodeSenderId({}, text));
  EXPECT_FALSE(DecodeSenderId(Bytes{4, 7, 'a'}, text));
  EXPECT_FALSE(DecodeSenderId(Bytes{1}, text));
  EXPECT_FALSE(DecodeSenderId(Bytes{0, 2, 1}, text));
  EXPECT_FALSE(DecodeSenderId(Bytes{0, 1, 1, 4, 10}, text));
}

}  // namespace
}  // namespace cfm::engine
