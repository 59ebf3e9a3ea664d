// What the agent sends to a data provider: requests on both connections, reads
// in batches, and withdrawals, worked by a program that answers at once, late,
// twice or not at all. Whatever the agent asks, each request gets one answer at
// most, and none that was withdrawn, given up or not asked.
#include <agent.pb.h>
#include <confd_dp.h>
#include <sys/socket.h>

#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <vector>

#include "confd_client/daemon.h"
#include "frame.h"
#include "input.h"
#include "message.h"
#include "unique_fd.h"

namespace {

using cfm::agent::ProviderReply;
using cfm::agent::ProviderRequest;

// The agent's end and the program's end of one connection.
class Pair {
 public:
  Pair() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      __builtin_trap();
    }
    agent = ipc::UniqueFd(ends[0]);
    program = ipc::UniqueFd(ends[1]);
  }

  ipc::UniqueFd agent;
  ipc::UniqueFd program;
};

// What the agent may still hear of a request.
enum class Awaited { kAnything, kFinal, kNothing };

struct Asked {
  Awaited awaited = Awaited::kAnything;
  std::optional<std::uint32_t> transaction;  // a read's
};

// The program, the agent and the input that directs both.
class Provider {
 public:
  explicit Provider(fuzz::Input& input) : input_(input), dx_(confd_init_daemon("fuzzed")) {
    dx_->d_opaque = this;
    Register();
    confd::Daemon& daemon = *confd::FindDaemon(dx_);
    daemon.control.emplace(control_.program.Get());
    daemon.worker.emplace(worker_.program.Get());
    daemon.register_done = true;
  }
  ~Provider() { confd_release_daemon(dx_); }

  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;

  void Run() {
    while (!input_.Rest().empty() && !over_) {
      Step();
      TakeReplies(control_);
      TakeReplies(worker_);
    }
  }

 private:
  static Provider& Of(const confd_daemon_ctx* dx) { return *static_cast<Provider*>(dx->d_opaque); }
  static void Look(const confd_value_t& value) {
    char text[256];
    confd_pp_value(text, sizeof text, &value);
  }
  static void Look(const confd_hkeypath_t& keypath) {
    char text[512];
    confd_pp_kpath(text, sizeof text, &keypath);
    if (keypath.len < 0 || keypath.len > MAXDEPTH) {
      __builtin_trap();
    }
  }

  void Register() {
    confd_trans_cbs transactions{};
    transactions.init = [](confd_trans_ctx* tctx) {
      Provider& self = Of(tctx->dx);
      confd_trans_set_fd(tctx, self.worker_.program.Get());
      return self.input_.Take<std::uint8_t>() % 8 == 7 ? CONFD_ERR : CONFD_OK;
    };
    transactions.finish = [](confd_trans_ctx* tctx) {
      return Of(tctx->dx).input_.Take<std::uint8_t>() % 8 == 7 ? CONFD_ERR : CONFD_OK;
    };
    confd_register_trans_cb(dx_, &transactions);
    confd_data_cbs data{};
    data.get_elem = [](confd_trans_ctx* tctx, confd_hkeypath_t* keypath) {
      return Of(tctx->dx).OnRead(tctx, *keypath);
    };
    data.get_next = [](confd_trans_ctx* tctx, confd_hkeypath_t* keypath, long) {
      return Of(tctx->dx).OnRead(tctx, *keypath);
    };
    for (const char* name : {"level", "statistics"}) {
      std::strcpy(data.callpoint, name);
      confd_register_data_cb(dx_, &data);
    }
    confd_action_cbs action{};
    std::strcpy(action.actionpoint, "clear");
    action.init = [](confd_user_info* user) {
      Provider& self = Of(user->dx);
      confd_action_set_fd(user, self.worker_.program.Get());
      return self.input_.Take<std::uint8_t>() % 8 == 7 ? CONFD_ERR : CONFD_OK;
    };
    action.action = [](confd_user_info* user, xml_tag*, confd_hkeypath_t* keypath,
                       confd_tag_value_t* parameters, int count) {
      Look(*keypath);
      for (int i = 0; i < count; ++i) {
        Look(parameters[i].v);
      }
      return Of(user->dx).input_.Take<std::uint8_t>() % 4 == 3 ? CONFD_ERR : CONFD_OK;
    };
    confd_register_action_cbs(dx_, &action);
  }

  int OnRead(confd_trans_ctx* tctx, const confd_hkeypath_t& keypath) {
    Look(keypath);
    switch (input_.Take<std::uint8_t>() % 8) {
      case 0:
        return CONFD_OK;  // without an answer
      case 1:
        confd_trans_seterr(tctx, "failed for \xff%d", 1);
        return CONFD_ERR;
      case 2:
        Withdraw(current_);
        break;
      case 3:
        AnswerSomehow(tctx);
        break;
      case 4:
        AnswerSomehow(tctx);
        return CONFD_DELAYED_RESPONSE;
      default:
        parked_.push_back(tctx);
        return CONFD_DELAYED_RESPONSE;
    }
    AnswerSomehow(tctx);
    return input_.Take<std::uint8_t>() % 8 == 7 ? CONFD_ERR : CONFD_OK;
  }

  void AnswerSomehow(confd_trans_ctx* tctx) {
    static constexpr std::size_t kKeys = MAXKEYLEN + 1;
    std::array<confd_value_t, kKeys> values{};
    const std::uint8_t how = input_.Take<std::uint8_t>();
    for (confd_value_t& value : values) {
      if (how % 2 == 0) {
        CONFD_SET_INT32(&value, how);
      } else {
        static constexpr char kText[] = "text\xff";
        CONFD_SET_STR(&value, kText);
      }
    }
    switch (how / 2 % 4) {
      case 0:
        confd_data_reply_value(tctx, values.data());
        break;
      case 1:
        confd_data_reply_not_found(tctx);
        break;
      default:
        confd_data_reply_next_key(tctx, values.data(), how / 8 % 13 - 1, how);
    }
  }

  void Step() {
    switch (input_.Take<std::uint8_t>() % 8) {
      case 0:
      case 1:
        Ask(worker_);
        break;
      case 2:
        AskTogether();
        break;
      case 3:
        Ask(control_);
        break;
      case 4:
        if (!parked_.empty()) {  // perhaps one that is no more
          AnswerSomehow(parked_[input_.Take<std::uint8_t>() % parked_.size()]);
        }
        break;
      case 5:
        Withdraw(input_.Take<std::uint8_t>());
        break;
      case 6:
        Begin();
        break;
      default:
        SayAnything();
    }
  }

  // A request as the input has it, but with an id that is in order.
  void Ask(Pair& pair) {
    ProviderRequest request;
    const std::string_view bytes = input_.TakeBlock();
    if (fuzz::Parses(bytes, request)) {
      Ask(pair, request);
    }
  }
  void Begin() {
    ProviderRequest request;
    request.mutable_trans_init()->set_thandle(input_.Take<std::uint8_t>() % 4);
    Ask(control_, request);
  }
  static bool IsRead(const ProviderRequest& request) {
    return request.has_get_elem() || request.has_get_next();
  }
  void Number(Pair& pair, ProviderRequest& request) {
    current_ = ++last_id_;
    request.set_id(current_);
    Asked& asked = asked_[current_];
    if (IsRead(request)) {
      asked.transaction =
          request.has_get_elem() ? request.get_elem().thandle() : request.get_next().thandle();
    }
    if (is_withdrawn_[current_] && &pair == &worker_) {
      asked.awaited = Awaited::kNothing;
    }
  }
  // Up to four requests, mostly reads, with some configuration.
  void AskTogether() {
    cfm::agent::FromAgent message;
    auto& batch = *message.mutable_read_batch();
    const int count = input_.Take<std::uint8_t>() % 4 + 1;
    for (int i = 0; i < count; ++i) {
      ProviderRequest request;
      if (fuzz::Parses(input_.TakeBlock(), request)) {
        *batch.add_requests() = request;
        Number(worker_, *batch.mutable_requests(batch.requests_size() - 1));
      }
    }
    cfm::agent::DataNode configuration;
    if (fuzz::Parses(input_.TakeBlock(), configuration)) {
      *batch.add_configuration() = configuration;
    }
    Say(worker_, message);
  }
  void Ask(Pair& pair, ProviderRequest& request) {
    Number(pair, request);
    cfm::agent::FromAgent message;
    if (&pair == &worker_ && IsRead(request)) {
      *message.mutable_read_batch()->add_requests() = request;
    } else {
      *message.mutable_provider_request() = request;
    }
    Say(pair, message);
    if (request.has_trans_finish() && &pair == &control_) {
      TakeReplies(worker_);
      GiveUp(request.trans_finish().thandle());
    }
  }
  void GiveUp(std::uint32_t transaction) {
    for (auto& [id, asked] : asked_) {
      if (asked.transaction == transaction) {
        asked.awaited = Awaited::kNothing;
      }
    }
  }
  // Of a read only: others are worked when the agent changes its mind.
  void Withdraw(std::uint64_t id) {
    TakeReplies(worker_);
    is_withdrawn_[id] = true;
    const auto asked = asked_.find(id);
    if (asked != asked_.end() && asked->second.transaction) {
      asked->second.awaited = Awaited::kNothing;
    }
    confd::WithdrawRequest(id);
  }
  // Bytes of any kind are the end of the connection, with or without a reason.
  void SayAnything() {
    Pair& pair = input_.Take<std::uint8_t>() % 2 == 0 ? control_ : worker_;
    const std::string_view bytes = input_.TakeBlock();
    over_ = true;
    free_ids_ = true;
    if (!bytes.empty() && send(pair.agent.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) {
      return;
    }
    shutdown(pair.agent.Get(), SHUT_WR);
    while (confd_fd_ready(dx_, pair.program.Get()) != CONFD_EOF) {
      TakeReplies(pair);
    }
  }
  void Say(Pair& pair, const cfm::agent::FromAgent& message) {
    std::string frame;
    ipc::AppendFrame(frame, message);
    if (send(pair.agent.Get(), frame.data(), frame.size(), MSG_NOSIGNAL | MSG_DONTWAIT) !=
        static_cast<ssize_t>(frame.size())) {
      over_ = true;  // the program has shut the connection
      return;
    }
    if (confd_fd_ready(dx_, pair.program.Get()) == CONFD_EOF) {
      over_ = true;
    }
  }

  void TakeReplies(Pair& pair) {
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ((count = recv(pair.agent.Get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
      ipc::FrameDecoder& decoder = &pair == &control_ ? from_control_ : from_worker_;
      decoder.Append({buffer.data(), static_cast<std::size_t>(count)});
      while (const auto payload = decoder.Next()) {
        cfm::agent::Request message;
        ipc::ParsePayload(*payload, message);
        if (message.has_provider_replies()) {
          for (const ProviderReply& reply : message.provider_replies().replies()) {
            Check(reply);
          }
        } else if (message.has_provider_reply()) {
          Check(message.provider_reply());
        } else {
          __builtin_trap();
        }
      }
    }
  }
  void Check(const ProviderReply& reply) {
    const auto asked = asked_.find(reply.id());
    if (free_ids_) {
      return;
    }
    if (asked == asked_.end() || asked->second.awaited == Awaited::kNothing) {
      __builtin_trap();
    }
    Awaited& awaited = asked->second.awaited;
    const bool is_no_answer =
        reply.result() == ProviderReply::DELAYED || reply.result() == ProviderReply::UNASKED;
    if (is_no_answer && awaited == Awaited::kFinal) {
      __builtin_trap();
    }
    awaited = reply.result() == ProviderReply::DELAYED ? Awaited::kFinal : Awaited::kNothing;
  }

  fuzz::Input& input_;
  Pair control_;
  Pair worker_;
  ipc::FrameDecoder from_control_;
  ipc::FrameDecoder from_worker_;
  confd_daemon_ctx* dx_;
  std::vector<confd_trans_ctx*> parked_;
  std::map<std::uint64_t, Asked> asked_;
  std::map<std::uint64_t, bool> is_withdrawn_;
  std::uint64_t last_id_ = 0;
  std::uint64_t current_ = 0;
  bool free_ids_ = false;  // the input has named its own
  bool over_ = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  Provider(input).Run();
  return 0;
}
