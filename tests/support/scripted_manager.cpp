#include "scripted_manager.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "frame.h"

namespace test {

ScriptedManager::ScriptedManager(sd_event* loop, const std::filesystem::path& socket)
    : loop_(loop),
      listener_(
          loop, socket, SD_EVENT_PRIORITY_NORMAL,
          [this](ipc::UniqueFd connection, const ipc::Peer&) { Accept(std::move(connection)); }) {}

void ScriptedManager::Accept(ipc::UniqueFd socket) {
  ++connections_;
  hello_.reset();
  raw_ = ipc::UniqueFd(fcntl(socket.Get(), F_DUPFD_CLOEXEC, 0));
  channel_ = std::make_unique<ipc::Channel>(
      loop_, std::move(socket), SD_EVENT_PRIORITY_NORMAL,
      [this](std::string_view payload) { OnFrame(payload); },
      [this](const std::string&) { CloseConnection(); });
}

void ScriptedManager::CloseConnection() {
  channel_.reset();
  raw_ = ipc::UniqueFd();
}

void ScriptedManager::OnFrame(std::string_view payload) {
  if (hello_) {
    OnMessage(payload);
  } else {
    OnHello(payload);
  }
}

void ScriptedManager::OnHello(std::string_view payload) {
  cfm::manager::Hello hello;
  ipc::ParsePayload(payload, hello);
  hello_ = std::move(hello);
  if (answers_hello) {
    cfm::manager::HelloReply reply;
    reply.set_error(hello_error);
    channel_->Send(reply);
  }
}

void ScriptedManager::OnMessage(std::string_view payload) {
  cfm::manager::FromClient message;
  ipc::ParsePayload(payload, message);
  if (message.has_configuration()) {
    configurations_.push_back(message.configuration());
    if (answers_configurations) {
      Answer(message.configuration().number());
    }
  } else {
    requests_.push_back(message);
  }
  on_message(message);
}

void ScriptedManager::Answer(std::uint64_t number) {
  cfm::manager::FromManager message;
  message.mutable_applied()->set_number(number);
  for (const std::string& warning : warnings) {
    message.mutable_applied()->add_warnings(warning);
  }
  channel_->Send(message);
}

void ScriptedManager::SendBytes(std::string_view bytes) {
  if (send(raw_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(bytes.size())) {
    throw std::system_error(errno, std::system_category(), "send bytes to the client");
  }
}

}  // namespace test
