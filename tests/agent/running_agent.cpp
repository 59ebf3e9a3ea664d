#include "running_agent.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <csignal>
#include <stdexcept>

#include "connect.h"
#include "frame.h"

namespace agentd::test {
namespace {

ipc::UniqueFd ConnectLoopback(std::uint16_t port) {
  ipc::UniqueFd fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("connect to the loopback port");
  }
  return fd;
}

}  // namespace

RunningAgent::RunningAgent(std::vector<std::string> options, std::vector<std::string> wrapper)
    : options_(std::move(options)), wrapper_(std::move(wrapper)) {
  Start();
}

std::vector<std::string> RunningAgent::Command() const {
  std::vector<std::string> command = wrapper_;
  command.insert(command.end(),
                 {TEST_AGENTD, "--runtime-dir", directory_.Path() / "run", "--state-dir",
                  directory_.Path() / "state", "--yang-dir", TEST_YANG_DIR});
  command.insert(command.end(), options_.begin(), options_.end());
  return command;
}

void RunningAgent::Start() {
  process_.emplace(Command(), ::test::Process::Options{.environment = {{"CFM_LOG", "stderr"}},
                                                       .directory = directory_.Path(),
                                                       .name = "agentd"});
  if (!process_->AwaitReady()) {
    throw std::runtime_error("agentd does not start: " + process_->Log());
  }
}

std::optional<int> RunningAgent::Stop() {
  return process_->Stop();
}

void RunningAgent::AskToEnd() {
  process_->Signal(SIGTERM);
  EXPECT_TRUE(process_->AwaitLog("asked to end"));
}

void RunningAgent::Kill() {
  process_->Signal(SIGKILL);
  process_->AwaitExit();
}

void RunningAgent::GoOn() {
  process_->Signal(SIGCONT);
}

::test::CommandResult RunningAgent::RunAnother() const {
  return ::test::Run(Command(), {{"CFM_LOG", "stderr"}});
}

Client::Client(const std::filesystem::path& socket, pb::Role role, const std::string& name)
    : fd_(ipc::ConnectUnix(socket)) {
  Greet(role, name);
}

Client::Client(const std::filesystem::path& socket, std::uint64_t provider, const std::string& name)
    : fd_(ipc::ConnectUnix(socket)) {
  Greet(pb::ROLE_WORKER, name, provider);
}

Client::Client(std::uint16_t port, pb::Role role) : fd_(ConnectLoopback(port)) {
  Greet(role, "tester");
}

void Client::Greet(pb::Role role, const std::string& name, std::uint64_t provider) {
  const timeval patience{.tv_sec = ::test::kPatience.count(), .tv_usec = 0};
  setsockopt(fd_.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  pb::Hello hello;
  hello.set_version(1);
  hello.set_role(role);
  hello.set_name(name);
  hello.set_provider(provider);
  ipc::SendFrame(fd_.Get(), hello);
  EXPECT_TRUE(ipc::ReceiveFrame(fd_.Get(), welcome_));
}

void Client::Send(const pb::Request& request) {
  ipc::SendFrame(fd_.Get(), request);
}

pb::FromAgent Client::ReceiveAny() {
  pb::FromAgent message;
  if (!ipc::ReceiveFrame(fd_.Get(), message)) {
    throw std::runtime_error("the agent has closed the connection");
  }
  return message;
}

pb::Reply Client::Receive() {
  const pb::FromAgent message = ReceiveAny();
  EXPECT_TRUE(message.has_reply());
  return message.reply();
}

pb::Notification Client::ReceiveNotification() {
  const pb::FromAgent message = ReceiveAny();
  EXPECT_TRUE(message.has_notification());
  notification_ = message.notification().number();
  return message.notification();
}

pb::ProviderRequest Client::ReceiveProviderRequest() {
  const pb::FromAgent message = ReceiveAny();
  EXPECT_TRUE(message.has_provider_request());
  return message.provider_request();
}

pb::Reply Client::Call(const pb::Request& request) {
  Send(request);
  return Receive();
}

bool Client::IsClosed() {
  char byte = 0;
  return recv(fd_.Get(), &byte, 1, 0) == 0;
}

bool Client::IsSilent(const RunningAgent& agent) const {
  Client(agent, pb::ROLE_FRONT_END, "witness").Status();
  return StaysSilent(std::chrono::milliseconds(0));
}

bool Client::StaysSilent(std::chrono::milliseconds duration) const {
  pollfd waiting{fd_.Get(), POLLIN, 0};
  return poll(&waiting, 1, static_cast<int>(duration.count())) == 0;
}

void Client::StartSession(unsigned database, unsigned flags) {
  pb::Request request;
  request.mutable_start_session()->set_database(database);
  request.mutable_start_session()->set_flags(flags);
  Send(request);
}

void Client::EndSession() {
  pb::Request request;
  request.mutable_end_session();
  Send(request);
}

pb::Reply Client::Level(const std::string& md) {
  pb::Request request;
  pb::Path& path = *request.mutable_fetch()->mutable_path();
  for (const char* name : {"config", "oam", "cfm", "md", "level"}) {
    path.add_steps()->set_name(name);
  }
  pb::Value& key = *path.mutable_steps(3)->add_keys();
  key.set_type(5);  // C_BUF
  key.set_text(md);
  return Call(request);
}

std::uint64_t Client::Txid() {
  pb::Request request;
  request.mutable_get_txid();
  return Call(request).txid();
}

std::int32_t Client::Subscribe(std::int32_t priority, const std::vector<std::string>& names) {
  pb::Request request;
  auto& subscribe = *request.mutable_subscribe();
  subscribe.set_priority(priority);
  subscribe.set_name_space(0x76d9c9b9);
  for (const std::string& name : names) {
    subscribe.mutable_path()->add_steps()->set_name(name);
  }
  const pb::Reply reply = Call(request);
  EXPECT_EQ(reply.errors_size(), 0) << reply.errors(0).message();
  return reply.subscription_id();
}

pb::Reply Client::SubscribeDone() {
  pb::Request request;
  request.mutable_subscribe_done();
  return Call(request);
}

void Client::Sync() {
  pb::Request request;
  request.mutable_subscription_sync()->set_type(1);
  request.mutable_subscription_sync()->set_number(notification_);
  Send(request);
}

void Client::SendEdit(const std::vector<pb::EditOperation>& operations, pb::Edit::Target target) {
  pb::Request request;
  request.mutable_edit()->set_target(target);
  for (const auto& operation : operations) {
    *request.mutable_edit()->add_operations() = operation;
  }
  Send(request);
}

pb::Reply Client::Edit(const std::vector<pb::EditOperation>& operations, pb::Edit::Target target) {
  SendEdit(operations, target);
  return Receive();
}

pb::Reply Client::CommitCandidate() {
  pb::Request request;
  request.mutable_commit_candidate();
  return Call(request);
}

pb::Reply Client::DiscardCandidate() {
  pb::Request request;
  request.mutable_discard_candidate();
  return Call(request);
}

pb::Reply Client::ValidateCandidate() {
  pb::Request request;
  request.mutable_validate_candidate();
  return Call(request);
}

pb::Reply Client::DiffCandidate() {
  pb::Request request;
  request.mutable_diff_candidate();
  return Call(request);
}

std::string Client::Show(pb::Datastore datastore) {
  pb::Request request;
  request.mutable_get()->set_datastore(datastore);
  request.mutable_get()->set_format(pb::FORMAT_XML);
  return Call(request).document();
}

void Client::SendGet(const std::string& path, pb::Format format) {
  pb::Request request;
  request.mutable_get()->set_datastore(pb::DATASTORE_OPERATIONAL);
  request.mutable_get()->set_path(path);
  request.mutable_get()->set_format(format);
  Send(request);
}

pb::Reply Client::Get(const std::string& path, pb::Format format) {
  SendGet(path, format);
  return Receive();
}

pb::Status Client::Status() {
  pb::Request request;
  request.mutable_get_status();
  return Call(request).status();
}

}  // namespace agentd::test
