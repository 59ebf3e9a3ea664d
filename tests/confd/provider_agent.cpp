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

std::uint64_t ProviderAgent::GetElem(std::uint32_t thandle, const std::string& callpoint) {
  cfm::agent::ProviderRequest request;
  auto& read = *request.mutable_get_elem();
  read.set_thandle(thandle);
  read.set_callpoint(callpoint);
  *read.mutable_keypath() = LevelOfLocal(3);
  return Send(Worker(), request);
}

std::uint64_t ProviderAgent::GetNext(std::uint32_t thandle, const std::string& callpoint,
                                     std::int64_t next) {
  cfm::agent::ProviderRequest request;
  auto& read = *request.mutable_get_next();
  read.set_thandle(thandle);
  read.set_callpoint(callpoint);
  *read.mutable_keypath() = LevelOfLocal(3);
  read.set_next(next);
  return Send(Worker(), request);
}

std::uint64_t ProviderAgent::Act(cfm::agent::PerformAction action) {
  cfm::agent::ProviderRequest request;
  *request.mutable_action() = std::move(action);
  return Send(Worker(), request);
}

cfm::agent::ProviderReply ProviderAgent::Take(int fd) {
  if (!IsReadable(fd, kLongMs)) {
    throw std::runtime_error("the provider does not answer");
  }
  const auto request = TakeRequest(fd);
  if (!request || !request->has_provider_reply()) {
    throw std::runtime_error("the provider says something else than a reply");
  }
  return request->provider_reply();
}

bool ProviderAgent::HasSaidNothing(int fd) {
  return !IsReadable(fd, 0);
}

void ProviderAgent::Die() {
  Registration();
  control_ = ipc::UniqueFd();
  worker_ = ipc::UniqueFd();
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
