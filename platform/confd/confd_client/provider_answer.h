// What a data provider sends to the agent.
#ifndef CONFD_CLIENT_PROVIDER_ANSWER_H
#define CONFD_CLIENT_PROVIDER_ANSWER_H

#include <agent.pb.h>

#include <string>

#include "confd_client/daemon.h"

namespace confd {

cfm::agent::ProviderReply Answer(std::uint64_t id, cfm::agent::ProviderReply::Result result);
// Sends it on one of the provider's connections, at once or, while a batch is
// worked there, with the others. Throws ApiError.
void Send(ProviderSocket& socket, cfm::agent::ProviderReply reply);
// Sends the replies that wait. Throws ApiError.
void SendCollected(ProviderSocket& socket);
// Answers that the request failed. `text` may be any bytes.
void SendError(ProviderSocket& socket, std::uint64_t id, const std::string& text);

}  // namespace confd

#endif
