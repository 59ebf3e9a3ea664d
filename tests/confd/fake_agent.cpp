#include "confd/fake_agent.h"

#include <arpa/inet.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "frame.h"

namespace test {
namespace {

void Check(int result, const char* what) {
  if (result < 0) {
    throw std::system_error(errno, std::system_category(), what);
  }
}

}  // namespace

FakeAgent::FakeAgent(std::vector<Script> scripts, int family) : scripts_(std::move(scripts)) {
  if (family == AF_UNIX) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = directory_.Path() / "agentd.sock";
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    std::memcpy(&address_, &address, sizeof(address));
    address_size_ = sizeof(address);
  } else {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::memcpy(&address_, &address, sizeof(address));
    address_size_ = sizeof(address);
  }
  listener_ = ipc::UniqueFd(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  Check(bind(listener_.Get(), Address(), address_size_), "bind");
  Check(listen(listener_.Get(), 8), "listen");
  Check(getsockname(listener_.Get(), reinterpret_cast<sockaddr*>(&address_), &address_size_),
        "getsockname");
  thread_ = std::thread([this] { Run(); });
}

FakeAgent::~FakeAgent() {
  Finish();
}

int FakeAgent::NewSocket() const {
  return socket(address_.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

std::string FakeAgent::Finish() {
  if (thread_.joinable()) {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
      shutdown(listener_.Get(), SHUT_RDWR);
      if (serving_ >= 0) {
        shutdown(serving_, SHUT_RDWR);
      }
    }
    thread_.join();
  }
  return error_;
}

void FakeAgent::Run() {
  for (std::size_t served = 0;; ++served) {
    ipc::UniqueFd fd(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!fd) {
      return;
    }
    Serve(std::move(fd), scripts_[std::min(served, scripts_.size() - 1)]);
  }
}

void FakeAgent::Serve(ipc::UniqueFd fd, const Script& script) {
  {
    const std::lock_guard lock(mutex_);
    if (stopping_) {
      return;
    }
    serving_ = fd.Get();
  }
  try {
    script(fd.Get());
  } catch (const std::exception& error) {
    error_ = error.what();
  }
  const std::lock_guard lock(mutex_);
  serving_ = -1;
  fd = ipc::UniqueFd();  // while its number cannot be shut down by Finish
}

void Welcome(int fd, cfm::agent::Role role,
             const std::vector<std::pair<std::uint32_t, std::string>>& names) {
  cfm::agent::Hello hello;
  if (!ipc::ReceiveFrame(fd, hello) || hello.version() != 1 || hello.role() != role) {
    throw std::runtime_error("another greeting than expected from " + hello.name());
  }
  cfm::agent::HelloReply reply;
  for (const auto& [tag, name] : names) {
    reply.add_tags()->set_tag(tag);
    reply.mutable_tags()->rbegin()->set_name(name);
  }
  ipc::SendFrame(fd, reply);
}

std::optional<cfm::agent::Request> TakeRequest(int fd) {
  cfm::agent::Request request;
  return ipc::ReceiveFrame(fd, request) ? std::optional(request) : std::nullopt;
}

void Answer(int fd, const cfm::agent::Reply& reply) {
  cfm::agent::FromAgent message;
  *message.mutable_reply() = reply;
  ipc::SendFrame(fd, message);
}

void Notify(int fd, const cfm::agent::Notification& notification) {
  cfm::agent::FromAgent message;
  *message.mutable_notification() = notification;
  ipc::SendFrame(fd, message);
}

void SendRaw(int fd, const std::string& bytes) {
  Check(static_cast<int>(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL)), "send");
}

void AwaitClose(int fd) {
  if (TakeRequest(fd)) {
    throw std::runtime_error("a request after the end of the script");
  }
}

}  // namespace test
