// Garbage on every socket, and what operators get wrong.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <fstream>
#include <random>

#include "connect.h"
#include "element.h"

namespace {

using test::CommandResult;
using test::Element;
using testing::HasSubstr;

class BadInput : public testing::Test {
 protected:
  void SetUp() override {
    element_.StartAll();
    ASSERT_EQ(element_.Cfmctl({"load", EXAMPLE}).status, 0);
    before_ = Running();
  }
  void TearDown() override {
    EXPECT_EQ(Running(), before_);
    EXPECT_EQ(element_.Verify().status, 0);
  }

  std::string Running() { return element_.Cfmctl({"get", "--format", "xml"}).output; }
  std::string WriteFile(const std::string& name, const std::string& text) {
    const std::filesystem::path path = element_.Directory() / name;
    std::ofstream(path) << text;
    return path.string();
  }
  // Runs cfmctl and expects a refusal whose text holds `expected`.
  void ExpectRefused(const std::vector<std::string>& arguments, int status,
                     const std::string& expected) {
    const CommandResult result = element_.Cfmctl(arguments);
    EXPECT_EQ(result.status, status) << result.output << result.error;
    EXPECT_THAT(result.error, HasSubstr(expected));
  }

  Element element_;
  std::string before_;
};

// A frame as it stands on the wire.
std::string Frame(std::uint32_t length, const std::string& payload) {
  const std::uint32_t network = htonl(length);
  return std::string(reinterpret_cast<const char*>(&network), sizeof network) + payload;
}

// Sends `bytes`, closes the sending side, and waits until the peer closes.
void SendAndAwaitClose(const std::filesystem::path& socket, const std::string& bytes) {
  const ipc::UniqueFd fd = ipc::ConnectUnix(socket);
  send(fd.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  shutdown(fd.Get(), SHUT_WR);
  char buffer[4096];
  while (recv(fd.Get(), buffer, sizeof buffer, 0) > 0) {
  }
}

TEST_F(BadInput, GarbageOversizedAndCutOffFramesHurtNobody) {
  std::mt19937 random(1);
  std::string noise(5000, '\0');
  for (char& byte : noise) {
    byte = static_cast<char>(random());
  }
  const std::string attempts[] = {
      noise,
      Frame(0xffffffff, "x"),
      Frame(100, "short"),
      Frame(5, "\xff\xff\xff\xff\xff"),
      Frame(0, ""),
      std::string("\0\0", 2),
      "",
  };
  for (const char* name : {"agentd.sock", "cfm-managerd.sock"}) {
    for (const std::string& attempt : attempts) {
      SendAndAwaitClose(element_.RuntimeDirectory() / name, attempt);
    }
  }
}

TEST_F(BadInput, MalformedDocumentsAreRefused) {
  ExpectRefused({"load", WriteFile("a.xml", "<config><oam>")}, 1, "XML");
  ExpectRefused({"load", WriteFile("a.json", "{\"element-cfm:config\": [}")}, 1, "JSON");
}

TEST_F(BadInput, UnknownPathsAndWrongValuesAreRefused) {
  ExpectRefused({"set", "md{metro}/colour", "blue"}, 2, "colour");
  ExpectRefused({"delete", "md{nowhere}"}, 1, "nowhere");
  ExpectRefused({"set", "md{metro}/level", "8"}, 1, "level");
  ExpectRefused({"get", "md{metro}/colour"}, 2, "colour");
}

TEST_F(BadInput, AConfigurationThatBreaksTheModelIsRefused) {
  ExpectRefused({"set", "md{new}/level", "3", "md{new}/ma{x}/ccm-interval", "1s"}, 1,
                "primary-vlan-id");
  ExpectRefused({"set", "md{metro}/ma{ring-east}/remote-meps", "1"}, 1, "remote-meps");
}

TEST_F(BadInput, AnEntryThatADocumentHoldsTwiceIsRefused) {
  ExpectRefused(
      {"load", WriteFile("twice.json", R"({"element-cfm:config":{"oam":{"cfm":{"md":[)"
                                       R"({"id":"x","level":1},{"id":"x","level":2}]}}}})")},
      1, "twice");
}

TEST_F(BadInput, ADocumentThatIsWrongAllOverIsRefusedAndTheNextCommitWorks) {
  std::string document =
      R"({"element-cfm:config":{"oam":{"cfm":{"md":[{"id":"x","level":1,"ma":[{"id":"y",)"
      R"("ccm-interval":"1s","primary-vlan-id":1,"vlan-list":[)";
  for (int i = 0; i < 200000; ++i) {
    document += "9999,";
  }
  ExpectRefused({"load", WriteFile("wrong.json", document + "1]}]}]}}}}")}, 1, "more problems");
  ExpectRefused({"set", "md{metro}/level", "9"}, 1, "level");
  EXPECT_EQ(element_.Cfmctl({"set", "md{metro}/level", "1"}).status, 0);
  EXPECT_EQ(element_.Cfmctl({"set", "md{metro}/level", "4"}).status, 0);
}

TEST_F(BadInput, AFileThatIsNotThereIsNamed) {
  ExpectRefused({"load", "/nonexistent/file.xml"}, 2, "/nonexistent/file.xml");
}

TEST(NoAgent, IsSaidWithTheSocketAndWhatToDo) {
  Element element;
  const CommandResult result = element.Cfmctl({"get"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.error, HasSubstr((element.RuntimeDirectory() / "agentd.sock").string()));
  EXPECT_THAT(result.error, HasSubstr("is agentd running"));
}

}  // namespace
