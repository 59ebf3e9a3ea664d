// One element, and CCMs that a test makes at the other end of its wire.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "ccm.h"
#include "continuity.h"
#include "element.h"
#include "wire_peer.h"

namespace {

using cfm::engine::Bytes;
using cfm::engine::Ccm;
using test::Element;
using test::ExpectSoon;
using testing::HasSubstr;
using testing::Not;

constexpr int kVlan = 100;
constexpr cfm::st_mac kPeer{{0x02, 0, 0, 0, 0, 0x07}};
// Offsets in a frame: 18 octets of Ethernet, then the PDU.
constexpr std::size_t kGroup = 5;
constexpr std::size_t kSource = 6;
constexpr std::size_t kPdu = 18;
constexpr std::size_t kMaid = kPdu + 10;
constexpr std::size_t kFirstTlv = kPdu + 74;

// What the MEP 2 of the element's MA sends when nothing is wrong.
Ccm GoodCcm() {
  return {.level = 5,
          .interval = 4,  // 1 s
          .mep_id = 2,
          .maid = cfm::engine::MakeMaid("provider", "gold").value(),
          .port_status = cfm::PortStatus::kUp,
          .interface_status = cfm::InterfaceStatus::kIsUp};
}

Bytes Frame(const Ccm& ccm) {
  return EncodeCcm(ccm, kPeer, kVlan);
}

class InjectedCcm : public testing::Test {
 protected:
  void SetUp() override {
    element_.SetInterfaces(test::TableOfWire(Wire()));
    element_.StartAll();
    test::Configure(element_, {.meps = {1}, .remotes = {2}});
    test::ExpectRecordsSoon(element_);
    peer_.emplace(Wire());
    ExpectAfter({GoodCcm()}, {"state=rmep-ok"});
  }
  void TearDown() override {
    EXPECT_THAT(element_.Daemon().Log(), Not(HasSubstr("severity=1")));
    for (test::Process* process : {&element_.Daemon(), &element_.Agent(), &element_.Manager()}) {
      EXPECT_EQ(process->Stop(), 0) << process->Log();
    }
  }

  std::filesystem::path Wire() const { return element_.Directory() / "wire"; }
  // The conditions hold at some time after the CCMs. Who watches from before
  // they come sees also what passes.
  void ExpectAfter(const std::vector<Ccm>& ccms, const std::vector<std::string>& conditions) {
    std::vector<std::string> arguments = {"watch", "--timeout", "25"};
    for (const std::string& condition : conditions) {
      arguments.insert(arguments.end(), {"--until", condition});
    }
    const auto watch = element_.StartCfmctl(arguments);
    ASSERT_TRUE(watch->AwaitLog("watching")) << watch->Log();
    for (const Ccm& ccm : ccms) {
      peer_->Send(Frame(ccm));
    }
    EXPECT_EQ(watch->AwaitExit(), 0) << watch->Log();
  }

  Element element_;
  std::optional<test::WirePeer> peer_;
};

TEST_F(InjectedCcm, RdiInOneDirectionIsADefectHereUntilItEnds) {
  Ccm ccm = GoodCcm();
  ccm.rdi = true;
  // A peer's RDI is not answered with one: the two would keep each other at it.
  ExpectAfter({ccm}, {"defects=A", "rx-rdi=true", "tx-rdi=false"});
  ExpectAfter({GoodCcm()}, {"defects=-", "rx-rdi=false"});
}

TEST_F(InjectedCcm, AStatusThatIsNotUpIsAMacStatusDefectUntilItIs) {
  Ccm blocked = GoodCcm();
  blocked.port_status = cfm::PortStatus::kBlocked;
  ExpectAfter({blocked}, {"defects=S", "rx-port-status-tlv=blocked"});
  ExpectAfter({GoodCcm()}, {"defects=-", "rx-port-status-tlv=up"});
  Ccm down = GoodCcm();
  down.interface_status = cfm::InterfaceStatus::kIsDown;
  ExpectAfter({down}, {"defects=S", "rx-interface-status-tlv=down"});
  ExpectAfter({GoodCcm()}, {"defects=-", "rx-interface-status-tlv=up"});
}

// Each is held for 3.5 of the sender's intervals: all are seen together, with
// the loss of the one that is silent meanwhile.
TEST_F(InjectedCcm, EveryDefectIsShownAndGoes) {
  Ccm foreign = GoodCcm();
  foreign.maid = cfm::engine::MakeMaid("provider", "silver").value();
  Ccm unexpected = GoodCcm();
  unexpected.mep_id = 3;
  ExpectAfter({foreign, unexpected},
              {"defect=I", "defect=X", "highest-priority-defect=X", "tx-rdi=true"});
  ExpectSoon(element_, {"defects=R", "highest-priority-defect=R", "state=rmep-failed"});
  ExpectAfter({GoodCcm()}, {"defects=-", "highest-priority-defect=-", "tx-rdi=false"});
}

using Change = std::function<void(Bytes&)>;

Change Octet(std::size_t offset, std::uint8_t value) {
  return [=](Bytes& frame) { frame.at(offset) = value; };
}

Change Length(std::size_t length) {
  return [=](Bytes& frame) { frame.resize(length); };
}

// Frames that reach the MEP's level and are no CCMs for all that: they count
// nothing but as invalid.
std::vector<Change> Malformations() {
  return {
      Length(kPdu + 2),                           // nothing after the opcode
      Length(kFirstTlv - 1),                      // a header that is cut off
      Octet(kGroup, 0x33),                        // the group address of another level
      Octet(kSource, 0x03),                       // from a group
      Octet(kPdu + 3, 69),                        // First TLV Offset before the end of the header
      Octet(kPdu + 3, 255),                       // and after that of the frame
      Octet(kPdu + 2, 0),                         // no interval
      Octet(kPdu + 9, 0),                         // MEP id 0
      Octet(kPdu + 8, 0xff),                      // MEP id above 8191
      Octet(kMaid + 1, 0),                        // an MD name without text
      Octet(kMaid + 1, 200),                      // and one that is longer than the MAID
      Octet(kFirstTlv + 3, 9),                    // a port status that there is not
      Octet(kFirstTlv + 2, 0),                    // a TLV without its value
      Octet(kFirstTlv + 1, 0xff),                 // and one that is cut off
      [](Bytes& frame) { frame.assign(14, 0); },  // no CFM at all
      [](Bytes& frame) { frame.assign(1, 0); },   // no Ethernet
      [](Bytes& frame) { frame.assign(20'000, 0x30); },  // longer than a port takes
  };
}

// Anything after the opcode, but for a First TLV Offset that no CCM has.
Bytes Noise(std::mt19937& random) {
  Bytes frame = Frame(GoodCcm());
  std::generate(frame.begin() + kPdu + 2, frame.end(),
                [&] { return static_cast<std::uint8_t>(random()); });
  frame.at(kPdu + 3) = 69;
  frame.resize(kPdu + 2 + random() % (frame.size() - kPdu - 2));
  return frame;
}

TEST_F(InjectedCcm, MalformedOnesAreDiscardedAndChangeNothing) {
  const auto records = test::Records(element_);
  ASSERT_EQ(element_.Cfmctl({"clear-statistics"}).status, 0);
  for (const Change& change : Malformations()) {
    Bytes frame = Frame(GoodCcm());
    change(frame);
    peer_->Send(frame);
  }
  std::mt19937 random(1);
  for (int times = 0; times < 500; ++times) {
    peer_->Send(Noise(random));
  }
  // They are worked in order: who sees this one has seen them all.
  Ccm last = GoodCcm();
  last.rdi = true;
  ExpectAfter({last}, {"state=rmep-ok", "rx-rdi=true", "defects=A"});
  EXPECT_EQ(test::Counter(element_, "mep-ccms-received"), 1);
  EXPECT_EQ(test::Counter(element_, "rmep-ccms-received"), 1);
  EXPECT_EQ(test::Counter(element_, "mep-ccm-sequence-errors"), 0);
  EXPECT_EQ(test::Records(element_), records);
}

}  // namespace
