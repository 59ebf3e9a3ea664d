// The program's answers to reads, in the callback or later.
#include <confd_dp.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <span>

#include "confd_client/daemon.h"
#include "confd_client/provider_answer.h"
#include "confd_client/wire_value.h"
#include "fail_point.h"

namespace confd {
namespace {

using Kind = OpenRead::Kind;
using Result = cfm::agent::ProviderReply::Result;

OpenRead& ReadOf(Transaction& transaction) {
  if (!transaction.read) {
    throw ApiError(CONFD_ERR_BADSTATE, "no read of this transaction waits for an answer");
  }
  return *transaction.read;
}

void CheckNotGivenUp(const FoundTransaction& found, const OpenRead& read) {
  if (read.given_up) {
    CFM_FAIL_POINT(confd_answer_too_late);
    found.daemon->EndRead(*found.transaction);
    throw ApiError(CONFD_ERR_BADSTATE,
                   "the answer comes too late: the agent has given the read up");
  }
}

void CheckKind(const OpenRead& read, Kind kind) {
  if (read.kind != kind) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, read.kind == Kind::kElem
                                             ? "a read of a leaf is answered with a value"
                                             : "a step of a traversal is answered with a next key");
  }
}

// The read is over with the attempt to answer it, unless `fill` finds fault
// with what the program gives. A connection that is gone is no CONFD_EOF here:
// it is confd_fd_ready that tells of the agent's end.
template <typename Fill>
int Reply(const confd_trans_ctx* tctx, std::initializer_list<Kind> kinds, Fill fill) noexcept {
  return Guarded([&] {
    const FoundTransaction found = FindTransaction(tctx);
    const OpenRead read = ReadOf(*found.transaction);
    CheckNotGivenUp(found, read);
    if (kinds.size() == 1) {
      CheckKind(read, *kinds.begin());
    }
    auto reply = Answer(read.id, Result::ProviderReply_Result_OK);
    fill(reply);
    found.daemon->EndRead(*found.transaction);
    if (read.step != nullptr) {
      *read.step = std::move(reply);
      return CONFD_OK;
    }
    CFM_FAIL_POINT(confd_replying);
    try {
      Send(*found.daemon->worker, std::move(reply));
    } catch (const ApiError& error) {
      throw ApiError(error.Code(), error.what());
    }
    CFM_FAIL_POINT(confd_replied);
    return CONFD_OK;
  });
}

void FillKeys(cfm::agent::ProviderReply& reply, const confd_value_t* keys, int count, long next) {
  if (count < 0) {
    reply.set_result(cfm::agent::ProviderReply::NOT_FOUND);
    reply.set_next(-1);
    return;
  }
  if (keys == nullptr || count == 0 || count > MAXKEYLEN) {
    throw ApiError(CONFD_ERR_PROTOUSAGE,
                   "an entry has 1 to " + std::to_string(MAXKEYLEN) + " keys; -1 ends the list");
  }
  for (const confd_value_t& key : std::span(keys, static_cast<std::size_t>(count))) {
    *reply.add_keys() = WireValue(key);
  }
  reply.set_next(next);
}

}  // namespace
}  // namespace confd

extern "C" {

int confd_data_reply_value(struct confd_trans_ctx* tctx, const confd_value_t* v) {
  return confd::Reply(tctx, {confd::Kind::kElem}, [&](cfm::agent::ProviderReply& reply) {
    if (v == nullptr) {
      throw confd::ApiError(CONFD_ERR_PROTOUSAGE, "the value's address is null");
    }
    *reply.mutable_value() = confd::WireValue(*v);
  });
}

int confd_data_reply_not_found(struct confd_trans_ctx* tctx) {
  return confd::Reply(tctx, {confd::Kind::kElem, confd::Kind::kNext},
                      [](cfm::agent::ProviderReply& reply) {
                        reply.set_result(cfm::agent::ProviderReply::NOT_FOUND);
                      });
}

int confd_data_reply_next_key(struct confd_trans_ctx* tctx, const confd_value_t* v,
                              int num_vals_in_key, long next) {
  return confd::Reply(tctx, {confd::Kind::kNext}, [&](cfm::agent::ProviderReply& reply) {
    confd::FillKeys(reply, v, num_vals_in_key, next);
  });
}

void confd_trans_set_fd(struct confd_trans_ctx* tctx, int sock) {
  tctx->fd = sock;
}

void confd_action_set_fd(struct confd_user_info* uinfo, int sock) {
  uinfo->actionfd = sock;
}

void confd_trans_seterr(struct confd_trans_ctx* tctx, const char* fmt, ...) {
  std::array<char, 1024> text{};
  std::va_list arguments;
  va_start(arguments, fmt);
  std::vsnprintf(text.data(), text.size(), fmt, arguments);
  va_end(arguments);
  confd::Guarded([&] {
    confd::FindTransaction(tctx).transaction->error = text.data();
    return CONFD_OK;
  });
}

}  // extern "C"
