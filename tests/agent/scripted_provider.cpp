#include "scripted_provider.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <confd_cdb.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include "model.h"

namespace agentd::test {
namespace {

const std::vector<std::string>& AllCallpoints() {
  static const std::vector<std::string> names = {
      "ccm-interval",      "direction",   "fault-alarm-time",
      "fault-reset-time",  "interface",   "level",
      "primary-vlan-id",   "remote-meps", "vlan-list",
      "last-state-change", "statistics"};
  return names;
}

// Names of the nodes that requests are about.
const std::map<std::uint32_t, std::string>& NamesOfTags() {
  static const Model model(TEST_YANG_DIR);
  return model.Names();
}

std::string NameOf(std::uint32_t tag) {
  const auto found = NamesOfTags().find(tag);
  return found != NamesOfTags().end() ? found->second : "?";
}

// Types of the computed leaves; the others are strings.
const std::map<std::string, confd_vtype>& TypesOfLeaves() {
  static const std::map<std::string, confd_vtype> types = {{"level", C_INT32},
                                                           {"ccm-interval", C_ENUM_VALUE},
                                                           {"primary-vlan-id", C_INT32},
                                                           {"direction", C_ENUM_VALUE},
                                                           {"mep-ccms-sent", C_UINT64},
                                                           {"mep-ccms-received", C_UINT64},
                                                           {"mep-ccm-sequence-errors", C_UINT32},
                                                           {"rmep-ccms-received", C_UINT32}};
  return types;
}

pb::ProviderReply ReplyTo(const pb::ProviderRequest& request) {
  pb::ProviderReply reply;
  reply.set_id(request.id());
  return reply;
}

}  // namespace

std::string Describe(const pb::ProviderRequest& request) {
  const bool is_step = request.has_get_next();
  const pb::Keypath& path = is_step ? request.get_next().keypath() : request.get_elem().keypath();
  std::string text = NameOf(path.elements(0).tag()) + " of " + NameOf(path.elements(2).tag()) +
                     " " + std::to_string(path.elements(1).keys(0).number());
  return is_step ? text + " from " + std::to_string(request.get_next().next()) : text;
}

pb::ProviderReply ValueReply(const pb::ProviderRequest& request, const pb::Value& value) {
  pb::ProviderReply reply = ReplyTo(request);
  *reply.mutable_value() = value;
  return reply;
}

pb::ProviderReply KeyReply(const pb::ProviderRequest& request, const pb::Value& key,
                           std::int64_t next) {
  pb::ProviderReply reply = ReplyTo(request);
  *reply.add_keys() = key;
  reply.set_next(next);
  return reply;
}

pb::ProviderReply ResultReply(const pb::ProviderRequest& request, pb::ProviderReply::Result result,
                              const std::string& error) {
  pb::ProviderReply reply = ReplyTo(request);
  reply.set_result(result);
  reply.set_error(error);
  return reply;
}

pb::ProviderReply PlainReply(const pb::ProviderRequest& request) {
  if (request.has_get_next()) {
    const std::int64_t next = std::max<std::int64_t>(request.get_next().next(), 0);
    return next < 2 ? KeyReply(request, NumberOf(C_INT32, 10 * (next + 1)), next + 1)
                    : ResultReply(request, pb::ProviderReply::NOT_FOUND);
  }
  if (request.has_action()) {
    return ResultReply(request, pb::ProviderReply::OK);
  }
  const auto type = TypesOfLeaves().find(NameOf(request.get_elem().keypath().elements(0).tag()));
  return ValueReply(
      request, type != TypesOfLeaves().end() ? NumberOf(type->second, 1) : TextOf("text", C_STR));
}

ScriptedProvider::ScriptedProvider(const std::filesystem::path& socket, const std::string& name,
                                   bool registered) {
  control_.emplace(socket, pb::ROLE_CONTROL, name);
  EXPECT_NE(control_->Welcome().provider(), 0U);
  worker_.emplace(socket, control_->Welcome().provider(), name);
  EXPECT_EQ(worker_->Welcome().error(), "");
  if (registered) {
    const pb::Reply reply = Register(AllCallpoints(), {"clear_cfm_statistics"});
    EXPECT_EQ(reply.errors_size(), 0);
  }
}

pb::Reply ScriptedProvider::Register(const std::vector<std::string>& callpoints,
                                     const std::vector<std::string>& actionpoints) {
  pb::Request request;
  for (const std::string& name : callpoints) {
    request.mutable_register_provider()->add_callpoints(name);
  }
  for (const std::string& name : actionpoints) {
    request.mutable_register_provider()->add_actionpoints(name);
  }
  return control_->Call(request);
}

// Pings are answered on the way: on a loaded machine one may come at any time.
pb::ProviderRequest ScriptedProvider::NextOnControl() {
  for (;;) {
    const pb::ProviderRequest request = control_->ReceiveProviderRequest();
    if (!request.has_ping()) {
      return request;
    }
    AnswerOnControl(request);
  }
}

void ScriptedProvider::AnswerOnControl(const pb::ProviderRequest& request) {
  pb::Request message;
  *message.mutable_provider_reply() = ResultReply(request, pb::ProviderReply::OK);
  control_->Send(message);
}

std::uint32_t ScriptedProvider::Begin() {
  const pb::ProviderRequest request = NextOnControl();
  EXPECT_TRUE(request.has_trans_init());
  AnswerOnControl(request);
  return request.trans_init().thandle();
}

std::uint32_t ScriptedProvider::AwaitFinish() {
  const pb::ProviderRequest request = NextOnControl();
  EXPECT_TRUE(request.has_trans_finish());
  return request.trans_finish().thandle();
}

pb::ProviderRequest ScriptedProvider::Next() {
  if (left_.empty()) {
    const pb::FromAgent message = worker_->ReceiveAny();
    if (message.has_provider_request()) {
      return message.provider_request();
    }
    Unpack(message.read_batch());
  }
  pb::ProviderRequest next = std::move(left_.front());
  left_.pop_front();
  return next;
}

pb::ReadBatch ScriptedProvider::NextBatch() {
  EXPECT_TRUE(left_.empty());
  const pb::FromAgent message = worker_->ReceiveAny();
  EXPECT_TRUE(message.has_read_batch());
  Unpack(message.read_batch());
  return message.read_batch();
}

void ScriptedProvider::Unpack(const pb::ReadBatch& batch) {
  left_.assign(batch.requests().begin(), batch.requests().end());
  const pb::Keypath* before = nullptr;
  for (pb::ProviderRequest& request : left_) {
    pb::Keypath& keypath = request.has_get_elem() ? *request.mutable_get_elem()->mutable_keypath()
                                                  : *request.mutable_get_next()->mutable_keypath();
    const int shared = static_cast<int>(keypath.shared());
    for (int i = shared; i > 0; --i) {
      *keypath.add_elements() = before->elements(before->elements_size() - i);
    }
    before = &keypath;
  }
}

void ScriptedProvider::Send(const pb::ProviderReply& reply) {
  pb::Request message;
  *message.mutable_provider_reply() = reply;
  worker_->Send(message);
  const bool walks_on = reply.keys_size() > 0 && reply.next() != -1;
  const bool is_end = reply.result() == pb::ProviderReply::DELAYED ||
                      reply.result() == pb::ProviderReply::ERROR || walks_on;
  if (is_end && !left_.empty()) {
    pb::Request rest;
    for (const pb::ProviderRequest& request : std::exchange(left_, {})) {
      *rest.mutable_provider_replies()->add_replies() =
          ResultReply(request, pb::ProviderReply::UNASKED);
    }
    worker_->Send(rest);
  }
}

void ScriptedProvider::SendTogether(const std::vector<pb::ProviderReply>& replies) {
  pb::Request message;
  message.mutable_provider_replies()->mutable_replies()->Add(replies.begin(), replies.end());
  worker_->Send(message);
}

std::vector<std::uint64_t> ScriptedProvider::Left() const {
  std::vector<std::uint64_t> ids;
  for (const pb::ProviderRequest& request : left_) {
    ids.push_back(request.id());
  }
  return ids;
}

void ScriptedProvider::AnswerLeft() {
  while (!left_.empty()) {
    Send(PlainReply(Next()));
  }
}

void ScriptedProvider::Withdraw(const google::protobuf::RepeatedField<std::uint64_t>& ids) {
  std::erase_if(left_, [&](const pb::ProviderRequest& request) {
    return std::find(ids.begin(), ids.end(), request.id()) != ids.end();
  });
}

void ScriptedProvider::ServeControl() {
  AnswerOnControl(control_->ReceiveProviderRequest());
}

std::vector<std::string> ScriptedProvider::ServeUntil(Client& other, const Answer& answer) {
  std::vector<std::string> served;
  for (;;) {
    pollfd waiting[] = {
        {other.Fd(), POLLIN, 0}, {control_->Fd(), POLLIN, 0}, {worker_->Fd(), POLLIN, 0}};
    constexpr int kMilliseconds = 1000;
    const int patience = static_cast<int>(::test::kPatience.count()) * kMilliseconds;
    if (poll(waiting, std::size(waiting), left_.empty() ? patience : 0) <= 0 && left_.empty()) {
      throw std::runtime_error("nothing came of it");
    }
    if (waiting[0].revents != 0) {
      return served;
    }
    if (waiting[1].revents != 0) {
      ServeControl();
    }
    if (waiting[2].revents != 0 || !left_.empty()) {
      const pb::ProviderRequest request = Next();
      served.push_back(request.has_action() ? "action" : Describe(request));
      if (const auto reply = answer(request)) {
        Send(*reply);
      }
    }
  }
}

OperationalWriter::OperationalWriter(const RunningAgent& agent)
    : client_(agent, pb::ROLE_CDB_DATA, "writer") {
  client_.StartSession(CDB_OPERATIONAL, 0);
}

pb::Reply OperationalWriter::Write(pb::OperationalWrite::Operation operation, const pb::Path& path,
                                   const pb::Value* value) {
  pb::Request request;
  auto& write = *request.mutable_operational_write();
  write.set_operation(operation);
  *write.mutable_path() = path;
  if (value != nullptr) {
    *write.mutable_value() = *value;
  }
  return client_.Call(request);
}

int OperationalWriter::Create(const pb::Path& path) {
  const pb::Reply reply = Write(pb::OperationalWrite::CREATE, path, nullptr);
  return reply.errors_size() > 0 ? reply.errors(0).code() : CONFD_OK;
}

int OperationalWriter::Set(const pb::Path& path, const pb::Value& value) {
  const pb::Reply reply = Write(pb::OperationalWrite::SET, path, &value);
  return reply.errors_size() > 0 ? reply.errors(0).code() : CONFD_OK;
}

pb::Reply OperationalWriter::Delete(const pb::Path& path) {
  return Write(pb::OperationalWrite::DELETE, path, nullptr);
}

void OperationalWriter::Put(const std::string& list, std::int64_t key, const Leaves& leaves) {
  ASSERT_EQ(Create(EntryPath(list, key)), CONFD_OK);
  for (const auto& [name, value] : leaves) {
    ASSERT_EQ(Set(EntryPath(list, key, name), value), CONFD_OK) << name;
  }
}

pb::Reply OperationalWriter::Fetch(const pb::Path& path) {
  pb::Request request;
  *request.mutable_fetch()->mutable_path() = path;
  return client_.Call(request);
}

}  // namespace agentd::test
