#include "channel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "agent.pb.h"
#include "frame.h"
#include "loop.h"

namespace {

using cfm::agent::Hello;
using testing::ElementsAre;
using testing::HasSubstr;

Hello Named(std::string name) {
  Hello hello;
  hello.set_name(std::move(name));
  return hello;
}

class Channel : public testing::Test {
 protected:
  Channel() {
    auto [here, there] = ConnectedPair();
    peer_ = std::move(there);
    channel_ = std::make_unique<ipc::Channel>(
        loop_.Get(), std::move(here), 0, [this](std::string_view payload) { on_frame_(payload); },
        [this](const std::string& reason) {
          reasons_.push_back(reason);
          on_close_();
        });
  }

  void Take(std::string_view payload) {
    Hello hello;
    ipc::ParsePayload(payload, hello);
    names_.push_back(hello.name());
  }

  void FromPeer(std::string_view bytes) {
    ASSERT_EQ(send(peer_.Get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  }
  void FromPeer(const Hello& hello) { ipc::SendFrame(peer_.Get(), hello); }
  void PeerLeaves() { peer_ = ipc::UniqueFd(); }
  bool RunUntilClosed() {
    return loop_.RunUntil([this] { return !reasons_.empty(); });
  }

  Loop loop_;
  ipc::UniqueFd peer_;
  std::vector<std::string> names_;
  std::vector<std::string> reasons_;
  std::function<void(std::string_view)> on_frame_ = [this](std::string_view p) { Take(p); };
  std::function<void()> on_close_ = [] {};
  std::unique_ptr<ipc::Channel> channel_;
};

TEST_F(Channel, DeliversFramesInOrder) {
  FromPeer(Named("one"));
  FromPeer(Named("two"));
  FromPeer(Named("three"));
  loop_.RunReady();
  EXPECT_THAT(names_, ElementsAre("one", "two", "three"));
  EXPECT_TRUE(reasons_.empty());
}

TEST_F(Channel, TellsWhenWhatWasQueuedHasLeft) {
  int drained = 0;
  channel_->SetDrainHandler([&] { ++drained; });
  channel_->Send(Named("short"));
  loop_.RunReady();
  EXPECT_EQ(drained, 0);  // never queued
  channel_->Send(Named(std::string(4 << 20, 'x')));
  ASSERT_GT(channel_->QueuedBytes(), 0U);
  Hello hello;
  std::thread reader([&] {
    while (ipc::ReceiveFrame(peer_.Get(), hello) && hello.name() == "short") {
    }
  });
  EXPECT_TRUE(loop_.RunUntil([&] { return drained > 0; }));
  reader.join();
  EXPECT_EQ(drained, 1);
  EXPECT_EQ(channel_->QueuedBytes(), 0U);
}

TEST_F(Channel, TellsAlsoThatWhatWasQueuedWillNeverLeave) {
  int drained = 0;
  channel_->SetDrainHandler([&] { ++drained; });
  channel_->SetReading(false);
  channel_->Send(Named(std::string(4 << 20, 'x')));
  PeerLeaves();
  EXPECT_TRUE(loop_.RunUntil([&] { return drained > 0; }));
  channel_->SetReading(true);
  EXPECT_TRUE(RunUntilClosed());
}

TEST_F(Channel, MayBeDestroyedByItsDrainHandler) {
  bool destroyed = false;
  channel_->SetDrainHandler([&] {
    channel_.reset();
    destroyed = true;
  });
  channel_->Send(Named(std::string(4 << 20, 'x')));
  PeerLeaves();
  EXPECT_TRUE(loop_.RunUntil([&] { return destroyed; }));
  EXPECT_TRUE(reasons_.empty());
}

TEST_F(Channel, AssemblesAFrameThatComesByteByByte) {
  std::string frame;
  ipc::AppendFrame(frame, Named("slowly"));
  for (const char byte : frame) {
    EXPECT_TRUE(names_.empty());
    FromPeer(std::string_view(&byte, 1));
    loop_.RunReady();
  }
  EXPECT_THAT(names_, ElementsAre("slowly"));
}

TEST_F(Channel, CostsNoWakeUpWhileNothingHappens) {
  FromPeer(Named("one"));
  loop_.RunReady();
  EXPECT_EQ(loop_.RunReady(), 0);
  channel_->Send(Named("reply"));
  EXPECT_EQ(loop_.RunReady(), 0);
}

TEST_F(Channel, LetsMoreUrgentSourcesInBetweenTwoFrames) {
  auto [urgent_here, urgent_there] = ConnectedPair();
  std::vector<std::string> order;
  ipc::Channel urgent(
      loop_.Get(), std::move(urgent_here), -10,
      [&order](std::string_view) { order.emplace_back("urgent"); }, [](const std::string&) {});
  on_frame_ = [&, fd = urgent_there.Get()](std::string_view) {
    order.emplace_back("usual");
    if (order.size() == 1) {
      ipc::SendFrame(fd, Named("now"));
    }
  };
  FromPeer(Named("one"));
  FromPeer(Named("two"));
  loop_.RunReady();
  EXPECT_THAT(order, ElementsAre("usual", "urgent", "usual"));
}

TEST_F(Channel, SendsFramesThatThePeerReadsLater) {
  const std::string large(8U << 20, 'x');
  Hello hello;
  channel_->Send(Named(large));
  channel_->Send(Named("after"));
  EXPECT_GT(channel_->QueuedBytes(), 0U);
  ipc::FrameDecoder decoder;
  std::string chunk(1U << 20, '\0');
  std::vector<std::string> received;
  while (received.size() < 2) {
    const ssize_t count = recv(peer_.Get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
    if (count <= 0) {
      ASSERT_GT(loop_.RunReady(), 0) << "nothing to read and nothing to write";
      continue;
    }
    decoder.Append({chunk.data(), static_cast<std::size_t>(count)});
    while (const auto payload = decoder.Next()) {
      ipc::ParsePayload(*payload, hello);
      received.push_back(hello.name());
    }
  }
  EXPECT_TRUE(received[0] == large);
  EXPECT_EQ(received[1], "after");
  EXPECT_EQ(channel_->QueuedBytes(), 0U);
  EXPECT_EQ(loop_.RunReady(), 0);
}

TEST_F(Channel, ClosesAPeerThatDoesNotRead) {
  const Hello large = Named(std::string(50U << 20, 'x'));
  for (int i = 0; i < 5; ++i) {
    channel_->Send(large);
  }
  loop_.RunReady();
  EXPECT_TRUE(reasons_.empty());
  channel_->Send(large);
  EXPECT_TRUE(reasons_.empty()) << "called back from inside Send";
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_THAT(reasons_, ElementsAre(HasSubstr("does not read")));
  pollfd peer{peer_.Get(), 0, 0};
  EXPECT_EQ(poll(&peer, 1, 0), 1);
  EXPECT_TRUE(peer.revents & POLLHUP);
}

TEST_F(Channel, RefusesToSendAFrameThatIsTooLong) {
  EXPECT_THROW(channel_->Send(Named(std::string(ipc::kMaxFrameBytes, 'x'))), ipc::ProtocolError);
  channel_->Send(Named("short"));
  Hello received;
  EXPECT_TRUE(ipc::ReceiveFrame(peer_.Get(), received));
  EXPECT_EQ(received.name(), "short");
}

TEST_F(Channel, ReportsTheEndOnceAfterWhatCameBefore) {
  FromPeer(Named("one"));
  FromPeer(Named("two"));
  PeerLeaves();
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_THAT(names_, ElementsAre("one", "two"));
  EXPECT_THAT(reasons_, ElementsAre("closed by the peer"));
  EXPECT_EQ(loop_.RunReady(), 0);
  EXPECT_EQ(reasons_.size(), 1U);
}

TEST_F(Channel, ReportsACutOffFrame) {
  FromPeer(Named("whole"));
  FromPeer(std::string_view("\0\0\0\x09half", 8));
  PeerLeaves();
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_THAT(names_, ElementsAre("whole"));
  EXPECT_THAT(reasons_, ElementsAre("closed by the peer within a frame"));
}

TEST_F(Channel, ClosesOnAnOversizedFrame) {
  FromPeer("GET / HTTP/1.1\r\n\r\n");
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_TRUE(names_.empty());
  EXPECT_THAT(reasons_, ElementsAre(HasSubstr("1195725856 bytes announced")));
}

TEST_F(Channel, ClosesOnAFrameThatItsHandlerCannotParse) {
  FromPeer(std::string_view("\0\0\0\x03\xff\xff\xff", 7));
  FromPeer(Named("never seen"));
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_TRUE(names_.empty());
  EXPECT_THAT(reasons_, ElementsAre(HasSubstr("is no cfm.agent.Hello")));
}

TEST_F(Channel, ClosesWhenItsHandlerFailsInAnyWay) {
  on_frame_ = [](std::string_view) { throw std::runtime_error("disk full"); };
  FromPeer(Named("one"));
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_THAT(reasons_, ElementsAre("disk full"));
}

TEST_F(Channel, ReportsFramesThatCameBeforeThePeerStoppedReading) {
  FromPeer(Named("request"));
  PeerLeaves();
  channel_->Send(Named("greeting"));
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_THAT(names_, ElementsAre("request"));
  EXPECT_EQ(reasons_.size(), 1U);
}

TEST_F(Channel, NoticesAPeerThatOnlyStoppedReading) {
  ASSERT_EQ(shutdown(peer_.Get(), SHUT_RD), 0);
  channel_->Send(Named("greeting"));
  EXPECT_TRUE(reasons_.empty());
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_THAT(reasons_, ElementsAre("the peer no longer reads"));
}

TEST_F(Channel, TakesNoFrameWhileReadingIsOff) {
  on_frame_ = [this](std::string_view payload) {
    Take(payload);
    channel_->SetReading(false);
  };
  FromPeer(Named("one"));
  FromPeer(Named("two"));
  loop_.RunReady();
  EXPECT_THAT(names_, ElementsAre("one"));
  channel_->SetReading(true);
  loop_.RunReady();
  EXPECT_THAT(names_, ElementsAre("one", "two"));
}

TEST_F(Channel, SeesTheEndWhenReadingIsOnAgainAndDoesNotSpinBefore) {
  channel_->SetReading(false);
  PeerLeaves();
  EXPECT_LE(loop_.RunReady(), 1);
  EXPECT_TRUE(reasons_.empty());
  channel_->SetReading(true);
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_THAT(reasons_, ElementsAre("closed by the peer"));
}

TEST_F(Channel, IsSilentAfterClose) {
  FromPeer(Named("one"));
  channel_->Close();
  channel_->Send(Named("lost"));
  channel_->SetReading(false);
  loop_.RunReady();
  EXPECT_TRUE(names_.empty());
  EXPECT_TRUE(reasons_.empty());
  char byte = 0;
  EXPECT_LE(recv(peer_.Get(), &byte, 1, MSG_DONTWAIT), 0);
}

TEST_F(Channel, MayBeClosedByItsFrameHandler) {
  on_frame_ = [this](std::string_view payload) {
    channel_->Close();
    Take(payload);
    throw ipc::ProtocolError("too late to matter");
  };
  FromPeer(Named("one"));
  FromPeer(Named("two"));
  loop_.RunReady();
  EXPECT_THAT(names_, ElementsAre("one"));
  EXPECT_TRUE(reasons_.empty());
}

TEST_F(Channel, MayBeDestroyedByItsFrameHandler) {
  on_frame_ = [this](std::string_view payload) {
    channel_.reset();
    Take(payload);
  };
  FromPeer(Named("one"));
  FromPeer(Named("two"));
  loop_.RunReady();
  EXPECT_THAT(names_, ElementsAre("one"));
}

TEST_F(Channel, MayBeDestroyedByItsCloseHandler) {
  on_close_ = [this] { channel_.reset(); };
  PeerLeaves();
  ASSERT_TRUE(RunUntilClosed());
  EXPECT_EQ(channel_, nullptr);
}

TEST_F(Channel, MayBeDestroyedWithACallPending) {
  PeerLeaves();
  channel_->Send(Named("nobody"));
  channel_.reset();
  loop_.RunReady();
  EXPECT_TRUE(reasons_.empty());
}

}  // namespace
