// Our frames as an independent dissector reads them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "world.h"

namespace cfm::engine {
namespace {

using testing::HasSubstr;
using testing::Not;

// A capture file of Ethernet frames (libpcap's own format, in this machine's
// byte order).
void WriteCapture(const std::filesystem::path& path, const std::vector<SentFrame>& frames) {
  std::ofstream file(path, std::ios::binary);
  const auto word = [&file](std::uint32_t number) {
    file.write(reinterpret_cast<const char*>(&number), sizeof number);
  };
  constexpr std::uint32_t kMagic = 0xa1b2c3d4;
  constexpr std::uint32_t kVersion = 4U << 16 | 2U;  // two 16-bit words: 2, 4
  constexpr std::uint32_t kEthernet = 1;
  for (const std::uint32_t number : {kMagic, kVersion, 0U, 0U, 65535U, kEthernet}) {
    word(number);
  }
  for (const SentFrame& frame : frames) {
    word(static_cast<std::uint32_t>(frame.at / 1s));
    word(static_cast<std::uint32_t>(frame.at % 1s / 1us));
    word(static_cast<std::uint32_t>(frame.bytes.size()));
    word(static_cast<std::uint32_t>(frame.bytes.size()));
    file.write(reinterpret_cast<const char*>(frame.bytes.data()),
               static_cast<std::streamsize>(frame.bytes.size()));
  }
}

std::string Output(const std::string& command) {
  struct Close {
    void operator()(FILE* pipe) const { pclose(pipe); }
  };
  const std::unique_ptr<FILE, Close> pipe(popen(command.c_str(), "r"));
  std::string text;
  char buffer[4096];
  while (const std::size_t size = fread(buffer, 1, sizeof buffer, pipe.get())) {
    text.append(buffer, size);
  }
  return text;
}

class TsharkTest : public testing::Test {
 protected:
  void SetUp() override {
    if (std::system("command -v tshark >/dev/null 2>&1") != 0) {
      GTEST_SKIP() << "no tshark (Debian package tshark)";
    }
    std::string name = (std::filesystem::temp_directory_path() / "cfm-tshark-XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    directory_ = name;
  }
  void TearDown() override {
    if (!directory_.empty()) {
      std::filesystem::remove_all(directory_);
    }
  }

  // What tshark says of the frames with these options.
  std::string Dissect(const std::vector<SentFrame>& frames, const std::string& options) {
    const auto capture = directory_ / "frames.pcap";
    WriteCapture(capture, frames);
    return Output("HOME=" + directory_.string() + " tshark -r " + capture.string() + " " + options +
                  " 2>/dev/null");
  }

 private:
  std::filesystem::path directory_;
};

// Two elements of which the first has not heard the second for ten seconds:
// the last frame of each.
std::vector<SentFrame> LastFrames() {
  OneMep mep;
  mep.level = 5;
  mep.vlans = {100};
  Pair pair(mep);
  pair.wire.cut[1] = true;
  PortFacts facts = GoodPort(2);
  facts.interface_status = InterfaceStatus::kIsDormant;
  facts.port_status = PortStatus::kBlocked;
  pair.world.SetPort(pair.there, World::kPort, facts);
  pair.world.Run(10s);
  return {pair.here.sent.back(), pair.there.sent.back()};
}

std::string FieldOptions(const std::vector<std::string>& fields) {
  std::string options = "-T fields -E separator=, -E aggregator=+";
  for (const std::string& field : fields) {
    options += " -e " + field;
  }
  return options;
}

TEST_F(TsharkTest, ReadsAddressesAndTag) {
  EXPECT_EQ(Dissect(LastFrames(), FieldOptions({"eth.dst", "eth.src", "vlan.priority", "vlan.id"})),
            "01:80:c2:00:00:35,02:00:00:00:00:01,7,100\n"
            "01:80:c2:00:00:35,02:00:00:00:00:02,7,100\n");
}

TEST_F(TsharkTest, ReadsTheHeader) {
  EXPECT_EQ(Dissect(LastFrames(),
                    FieldOptions({"cfm.md.level", "cfm.version", "cfm.opcode", "cfm.flags.rdi",
                                  "cfm.flags.ccm.reserved", "cfm.flags.interval",
                                  "cfm.first.tlv.offset", "cfm.ccm.seq.num", "cfm.ccm.ma.ep.id"})),
            "5,0,1,1,0,4,70,11,1\n"
            "5,0,1,0,0,4,70,11,2\n");
}

TEST_F(TsharkTest, ReadsTheMaid) {
  EXPECT_EQ(
      Dissect(LastFrames(), FieldOptions({"cfm.maid.md.name.format", "cfm.maid.md.name.length",
                                          "cfm.maid.md.name.string", "cfm.maid.ma.name.format",
                                          "cfm.maid.ma.name.length", "cfm.maid.ma.name.string"})),
      "4,4,east,2,4,blue\n"
      "4,4,east,2,4,blue\n");
}

TEST_F(TsharkTest, ReadsTheTlvs) {
  EXPECT_EQ(Dissect(LastFrames(),
                    FieldOptions({"cfm.tlv.type", "cfm.tlv.chassis.id.subtype",
                                  "cfm.tlv.chassis.id", "cfm.tlv.ma.domain.length",
                                  "cfm.tlv.port.status.value", "cfm.tlv.port.interface.value"})),
            "1+2+4+0,7,68657265,0,2,1\n"      // here
            "1+2+4+0,7,7468657265,0,1,5\n");  // there
}

TEST_F(TsharkTest, FindsNothingWrong) {
  const std::string text = Dissect(LastFrames(), "-V");
  EXPECT_THAT(text, HasSubstr("Trans Int 1s, max Lifetime 3.5s, min Lifetime 3.25s (4)"));
  EXPECT_THAT(text, HasSubstr("Port Status value: psBlocked (1)"));
  EXPECT_THAT(text, HasSubstr("Interface Status value: isDormant (5)"));
  EXPECT_THAT(text, HasSubstr("TLV Type: End TLV (0)"));
  EXPECT_THAT(text, Not(HasSubstr("Malformed")));
  EXPECT_THAT(text, Not(HasSubstr("Expert Info")));
}

}  // namespace
}  // namespace cfm::engine
