#include "confd_client/link.h"

#include <confd_internal.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "confd_client/error.h"
#include "confd_client/library.h"
#include "fail_point.h"
#include "frame.h"

namespace confd {
namespace {

std::uint64_t round_trips = 0;

[[noreturn]] void ThrowRefusal(const cfm::agent::Error& error) {
  // The path is the one that was asked for, which leads the text anyway.
  throw ApiError(error.code() != 0 ? error.code() : CONFD_ERR_EXTERNAL, error.message());
}

}  // namespace

Link::Link(int fd) : fd_(fd) {
  struct stat status {};
  if (fstat(fd, &status) != 0) {
    throw ApiError(CONFD_ERR_OS,
                   "socket " + std::to_string(fd) + ": " + std::system_category().message(errno));
  }
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

template <typename Transfer>
void Link::Guard(Transfer transfer) {
  CheckUsable();
  try {
    transfer();
  } catch (const ipc::ProtocolError& error) {
    FailForGarbage(error.what());
  } catch (const std::system_error& error) {
    FailForSystemError(error.code().value(), error.what());
  }
}

void Link::Send(const google::protobuf::MessageLite& message) {
  Guard([&] {
    try {
      ipc::SendFrame(fd_, message);
    } catch (const ipc::ProtocolError& error) {
      // The program's fault and not the agent's, and nothing was sent.
      throw ApiError(CONFD_ERR_PROTOUSAGE, error.what());
    }
  });
}

void Link::Receive(google::protobuf::MessageLite& message) {
  bool received = false;
  Guard([&] { received = ipc::ReceiveFrame(fd_, message); });
  if (!received) {
    FailForEnd();
  }
  ++round_trips;
}

cfm::agent::Reply Link::Transact(const cfm::agent::Request& request) {
  cfm::agent::FromAgent answer;
  Transact(request, answer);
  return std::move(*answer.mutable_reply());
}

cfm::agent::Reply& Link::Transact(const cfm::agent::Request& request,
                                  google::protobuf::Arena& arena) {
  auto& answer = *google::protobuf::Arena::CreateMessage<cfm::agent::FromAgent>(&arena);
  Transact(request, answer);
  return *answer.mutable_reply();
}

void Link::Transact(const cfm::agent::Request& request, cfm::agent::FromAgent& answer) {
  Say(CONFD_TRACE, "request to the agent");
  Send(request);
  CFM_FAIL_POINT(confd_call_sent);
  Receive(answer);
  CFM_FAIL_POINT(confd_call_answered);
  if (!answer.has_reply()) {
    FailForGarbage("a message that is no reply");
  }
  if (answer.reply().errors_size() > 0) {
    ThrowRefusal(answer.reply().errors(0));
  }
}

void Link::CheckIdle() {
  CheckUsable();
  pollfd state{fd_, POLLIN | POLLRDHUP, 0};
  if (poll(&state, 1, 0) <= 0) {
    return;
  }
  if ((state.revents & (POLLHUP | POLLRDHUP | POLLERR)) != 0) {
    FailForEnd();
  }
  FailForGarbage("a message that nobody asked for");
}

void Link::CheckNotOver() const {
  if (is_over_) {
    throw ApiError(CONFD_ERR_OS, "the connection to the agent is over: connect anew", CONFD_EOF);
  }
}

void Link::CheckUsable() {
  CheckNotOver();
  if (!IsSameSocket()) {
    throw ApiError(CONFD_ERR_BADSTATE, "socket " + std::to_string(fd_) +
                                           " was closed without cdb_close: connect it anew");
  }
}

bool Link::IsSameSocket() const {
  struct stat status {};
  return fstat(fd_, &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}

void Link::FailForGarbage(std::string_view cause) {
  is_over_ = true;
  if (IsSameSocket()) {
    shutdown(fd_, SHUT_RDWR);
  }
  throw ApiError(
      CONFD_ERR_PROTOUSAGE,
      "the agent's answer makes no sense, the connection is shut: " + std::string(cause));
}

void Link::FailForEnd() {
  is_over_ = true;
  throw ApiError(CONFD_ERR_OS, "the agent has closed the connection", CONFD_EOF);
}

void Link::FailForSystemError(int code, std::string_view cause) {
  if (code == EPIPE || code == ECONNRESET) {
    FailForEnd();
  }
  is_over_ = true;
  throw ApiError(CONFD_ERR_OS, std::string(cause));
}

}  // namespace confd

extern "C" uint64_t confd_round_trips(void) {
  return confd::round_trips;
}
