#include "confd_client/provider_answer.h"

#include <algorithm>

namespace confd {
namespace {

// Texts of the protocol are UTF-8, and what a program says may be anything.
std::string Presentable(std::string text) {
  std::ranges::replace_if(
      text, [](char byte) { return byte < ' ' || byte > '~'; }, '?');
  return text;
}

}  // namespace

cfm::agent::ProviderReply Answer(std::uint64_t id, cfm::agent::ProviderReply::Result result) {
  cfm::agent::ProviderReply reply;
  reply.set_id(id);
  reply.set_result(result);
  return reply;
}

void Send(ProviderSocket& socket, cfm::agent::ProviderReply reply) {
  cfm::agent::Request request;
  *request.mutable_provider_reply() = std::move(reply);
  socket.link.Send(request);
}

void SendError(ProviderSocket& socket, std::uint64_t id, const std::string& text) {
  auto reply = Answer(id, cfm::agent::ProviderReply::ERROR);
  reply.set_error(Presentable(text));
  Send(socket, std::move(reply));
}

}  // namespace confd
