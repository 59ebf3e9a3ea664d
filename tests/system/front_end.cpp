#include "front_end.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <stdexcept>

#include "connect.h"
#include "frame.h"
#include "process.h"

namespace test {

cfm::agent::Request ReadOf(const std::string& path) {
  cfm::agent::Request request;
  request.mutable_get()->set_datastore(cfm::agent::DATASTORE_OPERATIONAL);
  request.mutable_get()->set_path(path);
  request.mutable_get()->set_format(cfm::agent::FORMAT_TREE);
  return request;
}

FrontEnd::FrontEnd(const std::filesystem::path& runtime_directory, cfm::agent::Role role)
    : socket_(ipc::ConnectUnix(runtime_directory / "agentd.sock")) {
  const timeval patience{.tv_sec = kPatience.count(), .tv_usec = 0};
  setsockopt(Fd(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  cfm::agent::Hello hello;
  hello.set_version(1);
  hello.set_role(role);
  hello.set_name("test");
  ipc::SendFrame(Fd(), hello);
  cfm::agent::HelloReply reply;
  if (!ipc::ReceiveFrame(Fd(), reply) || !reply.error().empty()) {
    throw std::runtime_error("the agent refused the connection: " + reply.error());
  }
}

void FrontEnd::Send(const cfm::agent::Request& request) {
  ipc::SendFrame(Fd(), request);
}

cfm::agent::Reply FrontEnd::Receive() {
  cfm::agent::FromAgent message;
  if (!ipc::ReceiveFrame(Fd(), message) || !message.has_reply()) {
    throw std::runtime_error("the agent did not reply");
  }
  return message.reply();
}

}  // namespace test
