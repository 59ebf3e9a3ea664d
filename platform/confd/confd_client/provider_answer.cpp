#include "confd_client/provider_answer.h"

#include <algorithm>
#include <utility>

#include "confd_client/given_configuration.h"

namespace confd {
namespace {

// A longer reply goes alone, so that it alone fails when no frame holds it.
constexpr std::size_t kMostBytesInCompany = 65536;

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
  if (socket.collected) {
    reply.set_reads_configuration(GivenConfiguration::WasRead());
    if (reply.ByteSizeLong() <= kMostBytesInCompany) {
      *socket.collected->add_replies() = std::move(reply);
      return;
    }
    SendCollected(socket);
  }
  cfm::agent::Request request;
  *request.mutable_provider_reply() = std::move(reply);
  socket.link.Send(request);
}

void SendCollected(ProviderSocket& socket) {
  if (socket.collected->replies().empty()) {
    return;
  }
  cfm::agent::Request request;
  *request.mutable_provider_replies() = std::exchange(*socket.collected, {});
  socket.link.Send(request);
}

void SendError(ProviderSocket& socket, std::uint64_t id, const std::string& text) {
  auto reply = Answer(id, cfm::agent::ProviderReply::ERROR);
  reply.set_error(Presentable(text));
  Send(socket, std::move(reply));
}

}  // namespace confd
