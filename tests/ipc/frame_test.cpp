#include "frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "agent.pb.h"
#include "loop.h"

namespace {

using cfm::agent::Hello;

Hello Named(std::string name) {
  Hello hello;
  hello.set_name(std::move(name));
  return hello;
}

std::string FrameOf(const Hello& hello) {
  std::string frame;
  ipc::AppendFrame(frame, hello);
  return frame;
}

void Write(int fd, std::string_view bytes) {
  ASSERT_EQ(send(fd, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
}

std::vector<std::string> TakeAll(ipc::FrameDecoder& decoder) {
  std::vector<std::string> payloads;
  while (const auto payload = decoder.Next()) {
    payloads.emplace_back(*payload);
  }
  return payloads;
}

TEST(Frame, BeginsWithTheLengthInNetworkOrder) {
  const Hello hello = Named(std::string(300, 'x'));
  const std::string payload = hello.SerializeAsString();
  ASSERT_EQ(payload.size(), 303U);
  EXPECT_EQ(FrameOf(hello), std::string("\0\0\1\x2f", 4) + payload);
}

TEST(Frame, OfAnEmptyMessageIsItsLengthAlone) {
  EXPECT_EQ(FrameOf(Hello()), std::string(4, '\0'));
}

TEST(Frame, TooLongIsRefusedAndAddsNothing) {
  std::string out = "before";
  EXPECT_THROW(ipc::AppendFrame(out, Named(std::string(ipc::kMaxFrameBytes, 'x'))),
               ipc::ProtocolError);
  EXPECT_EQ(out, "before");
}

// protobuf would write it on the standard error stream, and the peer would
// only see garbage.
TEST(Frame, WithATextThatIsNotUtf8IsRefusedAndAddsNothing) {
  std::string out = "before";
  testing::internal::CaptureStderr();
  try {
    ipc::AppendFrame(out, Named("caf\xe9"));
    ADD_FAILURE() << "such a text was sent";
  } catch (const ipc::ProtocolError& error) {
    EXPECT_THAT(error.what(), testing::AllOf(testing::HasSubstr("cannot be sent"),
                                             testing::HasSubstr("'cfm.agent.Hello.name'"),
                                             testing::HasSubstr("invalid UTF-8")));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(out, "before");
  EXPECT_NO_THROW(ipc::AppendFrame(out, Named("caf\xc3\xa9")));
}

TEST(FrameDecoder, WaitsForEachByteOfAFrame) {
  const Hello hello = Named("cfm-app");
  const std::string frame = FrameOf(hello);
  ipc::FrameDecoder decoder;
  for (std::size_t i = 0; i + 1 < frame.size(); ++i) {
    decoder.Append(frame.substr(i, 1));
    EXPECT_FALSE(decoder.HasNext());
    EXPECT_EQ(decoder.Next(), std::nullopt);
    EXPECT_TRUE(decoder.HasPartialFrame());
  }
  decoder.Append(frame.substr(frame.size() - 1));
  EXPECT_TRUE(decoder.HasNext());
  EXPECT_EQ(decoder.Next(), hello.SerializeAsString());
  EXPECT_FALSE(decoder.HasPartialFrame());
  EXPECT_EQ(decoder.Next(), std::nullopt);
}

TEST(FrameDecoder, TakesTheLongestFrameAndRefusesOneByteMore) {
  ipc::FrameDecoder longest;
  longest.Append(std::string("\x04\0\0\0", 4));
  EXPECT_EQ(longest.Next(), std::nullopt);
  ipc::FrameDecoder longer;
  longer.Append(std::string("\x04\0\0\1", 4));
  EXPECT_TRUE(longer.HasNext());
  EXPECT_THROW(longer.Next(), ipc::ProtocolError);
}

TEST(FrameDecoder, GivesTheSameFramesHoweverTheStreamIsCut) {
  std::mt19937 random(20261120);
  for (int round = 0; round < 200; ++round) {
    std::vector<std::string> sent;
    std::string stream;
    for (unsigned count = random() % 20; count > 0; --count) {
      const Hello hello = Named(std::string(random() % 2000, static_cast<char>('a' + count)));
      sent.push_back(hello.SerializeAsString());
      ipc::AppendFrame(stream, hello);
    }
    ipc::FrameDecoder decoder;
    std::vector<std::string> received;
    for (std::size_t at = 0; at < stream.size();) {
      const std::size_t size = std::min<std::size_t>(1 + random() % 3000, stream.size() - at);
      decoder.Append(std::string_view(stream).substr(at, size));
      at += size;
      // Frames that are left in the decoder for now must come out later.
      if (random() % 3 != 0) {
        std::ranges::move(TakeAll(decoder), std::back_inserter(received));
      }
    }
    std::ranges::move(TakeAll(decoder), std::back_inserter(received));
    ASSERT_EQ(received, sent) << "round " << round;
    EXPECT_FALSE(decoder.HasPartialFrame());
  }
}

TEST(Payload, ThatIsNoSuchMessageIsNamed) {
  Hello hello;
  try {
    ipc::ParsePayload("\xff\xff\xff", hello);
    FAIL() << "garbage was parsed";
  } catch (const ipc::ProtocolError& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("cfm.agent.Hello"));
  }
}

TEST(Payload, WithATextThatIsNotUtf8FailsWithThatCauseAndPrintsNothing) {
  Hello hello;
  testing::internal::CaptureStderr();
  try {
    ipc::ParsePayload(
        "\x1a\x04"
        "caf\xe9",
        hello);
    ADD_FAILURE() << "such a text was parsed";
  } catch (const ipc::ProtocolError& error) {
    EXPECT_THAT(error.what(), testing::AllOf(testing::HasSubstr("is no cfm.agent.Hello: "),
                                             testing::HasSubstr("invalid UTF-8")));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Payload, LeavesAloneWhatProtobufSaysToOthers) {
  Hello hello;
  EXPECT_THROW(ipc::ParsePayload("\xff\xff\xff", hello), ipc::ProtocolError);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(Named("caf\xe9").SerializeAsString().empty());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("cfm.agent.Hello.name"));
}

TEST(BlockingTransfer, ArrivesAsItWasSentHoweverLong) {
  auto [here, there] = ConnectedPair();
  const Hello sent = Named(std::string(3U << 20, 'x'));
  std::thread sender([&sent, fd = there.Get()] { ipc::SendFrame(fd, sent); });
  Hello received;
  EXPECT_TRUE(ipc::ReceiveFrame(here.Get(), received));
  sender.join();
  EXPECT_EQ(received.name(), sent.name());
}

TEST(BlockingTransfer, EndsBetweenTwoFrames) {
  auto [here, there] = ConnectedPair();
  ipc::SendFrame(there.Get(), Named("last"));
  there = ipc::UniqueFd();
  Hello received;
  EXPECT_TRUE(ipc::ReceiveFrame(here.Get(), received));
  EXPECT_FALSE(ipc::ReceiveFrame(here.Get(), received));
}

TEST(BlockingTransfer, CutOffAnywhereIsAnError) {
  const std::string frame = FrameOf(Named("cfm-app"));
  for (std::size_t size = 1; size < frame.size(); ++size) {
    auto [here, there] = ConnectedPair();
    Write(there.Get(), std::string_view(frame).substr(0, size));
    there = ipc::UniqueFd();
    Hello received;
    EXPECT_THROW(ipc::ReceiveFrame(here.Get(), received), ipc::ProtocolError) << size;
  }
}

TEST(BlockingTransfer, OversizedIsRefusedBeforeItComes) {
  auto [here, there] = ConnectedPair();
  Write(there.Get(), "HTTP");
  Hello received;
  EXPECT_THROW(ipc::ReceiveFrame(here.Get(), received), ipc::ProtocolError);
}

TEST(BlockingTransfer, ToAPeerThatIsGoneFailsWithoutASignal) {
  auto [here, there] = ConnectedPair();
  there = ipc::UniqueFd();
  try {
    ipc::SendFrame(here.Get(), Named("nobody"));
    FAIL() << "sent to nobody";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), EPIPE);
    EXPECT_THAT(error.what(), testing::HasSubstr("cfm.agent.Hello"));
  }
}

}  // namespace
