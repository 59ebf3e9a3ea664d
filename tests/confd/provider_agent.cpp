#include "confd/provider_agent.h"

#include <confd_lib.h>
#include <poll.h>
#include <unistd.h>

#include <stdexcept>

#include "confd/data_tree.h"
#include "frame.h"

namespace test {
namespace {

constexpr int kLongMs = 30'000;

bool IsReadable(int fd, int timeout_ms) {
  pollfd state{fd, POLLIN, 0};
  return poll(&state, 1, timeout_ms) > 0;
}

cfm::agent::Hello TakeHello(int fd, cfm::agent::Role role) {
  cfm::agent::Hello hello;
  if (!ipc::ReceiveFrame(fd, hello) || hello.version() != 1 || hello.role() != role ||
      hello.name() != "tester") {
    throw std::runtime_error("another greeting than expected");
  }
  return hello;
}

}  // namespace

ProviderAgent::ProviderAgent(std::string refusal)
    : refusal_(std::move(refusal)),
      listener_({[this](int fd) { WelcomeControl(fd); }, [this](int fd) { WelcomeWorker(fd); }}) {}

ProviderAgent::ProviderAgent(FakeAgent::Script next)
    : listener_({[this](int fd) { WelcomeControl(fd); }, [this](int fd) { WelcomeWorker(fd); },
                 std::move(next)}) {}

void ProviderAgent::WelcomeControl(int fd) {
  TakeHello(fd, cfm::agent::ROLE_CONTROL);
  cfm::agent::HelloReply reply;
  reply.set_provider(kNumber);
  ipc::SendFrame(fd, reply);
  control_ = ipc::UniqueFd(dup(fd));
}

void ProviderAgent::WelcomeWorker(int fd) {
  if (TakeHello(fd, cfm::agent::ROLE_WORKER).provider() != kNumber) {
    throw std::runtime_error("a worker socket of another provider");
  }
  ipc::SendFrame(fd, cfm::agent::HelloReply());
  worker_ = ipc::UniqueFd(dup(fd));
  const auto request = TakeRequest(control_.Get());
  cfm::agent::Reply reply;
  if (!refusal_.empty()) {
    reply.add_errors()->set_message(refusal_);
  }
  registered_.set_value(request ? request->register_provider() : cfm::agent::RegisterProvider());
  if (request) {
    Answer(control_.Get(), reply);
  }
}

const cfm::agent::RegisterProvider& ProviderAgent::Registration() {
  if (when_registered_.valid()) {
    registration_ = when_registered_.get();
  }
  return registration_;
}

int ProviderAgent::Control() {
  Registration();
  return control_.Get();
}

int ProviderAgent::Worker() {
  Registration();
  return worker_.Get();
}

std::uint64_t ProviderAgent::Send(int fd, cfm::agent::ProviderRequest request) {
  request.set_id(++last_id_);
  cfm::agent::FromAgent message;
  *message.mutable_provider_request() = std::move(request);
  ipc::SendFrame(fd, message);
  return last_id_;
}

std::uint64_t ProviderAgent::Init(std::uint32_t thandle) {
  cfm::agent::ProviderRequest request;
  request.mutable_trans_init()->set_thandle(thandle);
  return Send(Control(), request);
}

std::uint64_t ProviderAgent::Finish(std::uint32_t thandle) {
  cfm::agent::ProviderRequest request;
  request.mutable_trans_finish()->set_thandle(thandle);
  return Send(Control(), request);
}

std::uint64_t ProviderAgent::Ask(cfm::agent::ReadBatch batch) {
  const std::uint64_t first = last_id_ + 1;
  for (auto& request : *batch.mutable_requests()) {
    request.set_id(++last_id_);
  }
  cfm::agent::FromAgent message;
  *message.mutable_read_batch() = std::move(batch);
  ipc::SendFrame(Worker(), message);
  return first;
}

std::uint64_t ProviderAgent::GetElem(std::uint32_t thandle, const std::string& callpoint) {
  return Ask(BatchOf({test::GetElem(thandle, callpoint, LevelOfLocal(3))}));
}

std::uint64_t ProviderAgent::GetNext(std::uint32_t thandle, const std::string& callpoint,
                                     std::int64_t next) {
  return Ask(BatchOf({test::GetNext(thandle, callpoint, LevelOfLocal(3), next, 1)}));
}

std::uint64_t ProviderAgent::Ping() {
  cfm::agent::ProviderRequest request;
  request.mutable_ping();
  return Send(Control(), std::move(request));
}

std::uint64_t ProviderAgent::Act(cfm::agent::PerformAction action) {
  cfm::agent::ProviderRequest request;
  *request.mutable_action() = std::move(action);
  return Send(Worker(), request);
}

cfm::agent::ProviderReply ProviderAgent::Take(int fd) {
  if (fd == worker_.Get() && !replies_.empty()) {
    auto reply = std::move(replies_.front());
    replies_.pop_front();
    return reply;
  }
  if (!IsReadable(fd, kLongMs)) {
    throw std::runtime_error("the provider does not answer");
  }
  const auto request = TakeRequest(fd);
  if (request && fd == worker_.Get() && request->has_provider_replies()) {
    const auto& replies = request->provider_replies().replies();
    replies_.assign(replies.begin(), replies.end());
    return Take(fd);
  }
  if (!request || !request->has_provider_reply()) {
    throw std::runtime_error("the provider says something else than a reply");
  }
  return request->provider_reply();
}

std::vector<cfm::agent::ProviderReply> ProviderAgent::TakeTogether() {
  if (!replies_.empty()) {
    throw std::logic_error("replies are left from the message before");
  }
  std::vector<cfm::agent::ProviderReply> together = {Take(Worker())};
  together.insert(together.end(), replies_.begin(), replies_.end());
  replies_.clear();
  return together;
}

bool ProviderAgent::HasSaidNothing(int fd) {
  return (fd != worker_.Get() || replies_.empty()) && !IsReadable(fd, 0);
}

void ProviderAgent::Die() {
  Registration();
  control_ = ipc::UniqueFd();
  worker_ = ipc::UniqueFd();
}

cfm::agent::ProviderRequest GetElem(std::uint32_t thandle, const std::string& callpoint,
                                    const cfm::agent::Keypath& keypath) {
  cfm::agent::ProviderRequest request;
  auto& read = *request.mutable_get_elem();
  read.set_thandle(thandle);
  read.set_callpoint(callpoint);
  *read.mutable_keypath() = keypath;
  return request;
}

cfm::agent::ProviderRequest GetNext(std::uint32_t thandle, const std::string& callpoint,
                                    const cfm::agent::Keypath& keypath, std::int64_t next,
                                    std::uint32_t steps) {
  cfm::agent::ProviderRequest request;
  auto& read = *request.mutable_get_next();
  read.set_thandle(thandle);
  read.set_callpoint(callpoint);
  *read.mutable_keypath() = keypath;
  read.set_next(next);
  read.set_steps(steps);
  return request;
}

cfm::agent::ReadBatch BatchOf(const std::vector<cfm::agent::ProviderRequest>& requests) {
  cfm::agent::ReadBatch batch;
  batch.mutable_requests()->Add(requests.begin(), requests.end());
  return batch;
}

cfm::agent::Keypath LevelOfLocal(std::int64_t key) {
  cfm::agent::Keypath path;
  path.add_elements()->set_tag(0x7dec02bd);
  *path.add_elements()->add_keys() = Number(C_INT64, key);
  for (const std::uint32_t tag : {0x7ef235bfU, 0x1003U, 0x1002U, 0x1006U}) {
    path.add_elements()->set_tag(tag);
  }
  for (auto& element : *path.mutable_elements()) {
    if (element.keys().empty()) {
      element.set_ns(0x76d9c9b9);
    }
  }
  return path;
}

}  // namespace test
