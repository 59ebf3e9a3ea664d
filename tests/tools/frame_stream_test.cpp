#include "client/frame_stream.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>

#include "agent.pb.h"
#include "frame.h"

namespace {

using cfmctl::Deadline;
using cfmctl::FrameStream;

TEST(FrameStream, HearsTheReasonOfAPeerThatTurnedItAwayBeforeItSpoke) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  FrameStream stream(ipc::UniqueFd{pair[0]}, std::chrono::seconds(30));
  {
    const ipc::UniqueFd peer{pair[1]};
    cfm::agent::HelloReply reply;
    reply.set_error("you may not");
    ipc::SendFrame(peer.Get(), reply);
  }
  stream.Send(cfm::agent::Hello());
  cfm::agent::HelloReply reply;
  const Deadline deadline = Deadline::After(std::chrono::seconds(30));
  EXPECT_EQ(stream.Receive(reply, deadline), FrameStream::Outcome::kMessage);
  EXPECT_EQ(reply.error(), "you may not");
  EXPECT_EQ(stream.Receive(reply, deadline), FrameStream::Outcome::kClosed);
}

}  // namespace
