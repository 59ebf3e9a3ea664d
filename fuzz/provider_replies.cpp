// What a data provider may answer to the agent: a whole agent, a provider that
// answers as the input says, a front end that reads and performs operations,
// and a writer and an editor that come in between. Once the provider is gone
// everybody has had an answer, and every document is one of the model.
#include <agent.pb.h>
#include <confd_cdb.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <systemd/sd-event.h>

#include <array>
#include <deque>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "agent.h"
#include "connect.h"
#include "frame.h"
#include "input.h"
#include "message.h"

namespace {

namespace pb = cfm::agent;

constexpr const char* kConfiguration = R"({"element-cfm:config":{"oam":{"cfm":{"md":[{
    "id":"east","level":3,"ma":[{
      "id":"blue","ccm-interval":"1s","primary-vlan-id":10,"vlan-list":[10,20],
      "remote-meps":[100],"mep":[{"id":5,"interface":"eth0","direction":"up",
      "continuity-check":{"cci-enabled":[null]}}]}]}]}}}})";
constexpr const char* kCallpoints[] = {
    "ccm-interval",    "direction",   "fault-alarm-time", "fault-reset-time",  "interface", "level",
    "primary-vlan-id", "remote-meps", "vlan-list",        "last-state-change", "statistics"};
constexpr const char* kPaths[] = {"", "/status/oam/cfm/local[id='0']",
                                  "/status/oam/cfm/remote[id='1']",
                                  "/status/oam/cfm/local[id='0']/vlan-list"};

// One of the agent's clients.
class Client {
 public:
  Client(const std::filesystem::path& socket, pb::Role role, std::uint64_t provider = 0)
      : fd_(ipc::ConnectUnix(socket)) {
    pb::Hello hello;
    hello.set_version(1);
    hello.set_role(role);
    hello.set_name("fuzzed");
    hello.set_provider(provider);
    ipc::SendFrame(fd_.Get(), hello);
  }

  // Fails without a word when the agent has hung up.
  void Send(const pb::Request& request) {
    std::string frame;
    ipc::AppendFrame(frame, request);
    Send(frame);
  }
  void Send(std::string_view bytes) {
    if (!bytes.empty()) {
      send(fd_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
  }
  // The next message that is here already.
  template <typename Message>
  std::optional<Message> Take() {
    std::array<char, 65536> buffer;
    ssize_t count = 0;
    while (!input_.HasNext() &&
           (count = recv(fd_.Get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
      input_.Append({buffer.data(), static_cast<std::size_t>(count)});
    }
    const auto payload = input_.Next();
    if (!payload) {
      return std::nullopt;
    }
    Message message;
    ipc::ParsePayload(*payload, message);
    return message;
  }

 private:
  ipc::UniqueFd fd_;
  ipc::FrameDecoder input_;
};

pb::Value Number(confd_vtype type, std::int64_t number) {
  pb::Value value;
  value.set_type(type);
  value.set_number(number);
  return value;
}
pb::Value Text(std::string_view text) {
  pb::Value value;
  value.set_type(C_STR);
  value.set_text(text.data(), text.size());
  return value;
}

// Types of the computed leaves; the others are strings.
const std::map<std::string, confd_vtype> kTypes = {{"level", C_INT32},
                                                   {"ccm-interval", C_ENUM_VALUE},
                                                   {"primary-vlan-id", C_INT32},
                                                   {"direction", C_ENUM_VALUE},
                                                   {"mep-ccms-sent", C_UINT64},
                                                   {"mep-ccms-received", C_UINT64},
                                                   {"mep-ccm-sequence-errors", C_UINT32},
                                                   {"rmep-ccms-received", C_UINT32}};

class Target {
 public:
  Target() {
    char name[] = "/dev/shm/cfm-fuzz-XXXXXX";
    directory_ = mkdtemp(name);
    atexit([] { std::filesystem::remove_all(directory_); });
    for (const char* part : {"run", "state"}) {
      std::filesystem::create_directory(directory_ / part);
    }
    sd_event_new(&loop_);
    agentd::Options options;
    options.runtime_dir = directory_ / "run";
    options.state_dir = directory_ / "state";
    options.yang_dir = CFM_MODEL_DIR;
    agent_.emplace(loop_, options);
    for (auto* client : {&front_, &editor_}) {
      client->emplace(Socket(), pb::ROLE_FRONT_END);
      Greeting(**client);
    }
    writer_.emplace(Socket(), pb::ROLE_CDB_DATA);
    Greeting(*writer_);
    pb::Request session;
    session.mutable_start_session()->set_database(CDB_OPERATIONAL);
    writer_->Send(session);  // is answered only when it cannot be
    pb::Request edit;
    pb::EditOperation& operation = *edit.mutable_edit()->add_operations();
    operation.set_document(kConfiguration);
    operation.set_format(pb::FORMAT_JSON);
    Call(*editor_, edit);
    Create("local", 0, "mep", 5);
    Create("remote", 1, "remote-mep", 100);
  }

  void Feed(fuzz::Input input) {
    Start();
    while (!input.Rest().empty()) {
      Step(input);
      Settle();
    }
    control_.reset();
    worker_.reset();
    pending_.clear();
    Settle();
    if (reading_ || editing_) {
      __builtin_trap();  // nobody is left that could answer
    }
    Create("local", 0, "mep", 5);
    Create("remote", 1, "remote-mep", 100);
  }

 private:
  struct Pending {
    pb::ProviderRequest request;
    bool is_worker = false;
  };

  static std::filesystem::path Socket() { return directory_ / "run" / "agentd.sock"; }

  void RunAgent() {
    int result = 0;
    while ((result = sd_event_run(loop_, 0)) > 0) {
    }
    if (result < 0) {
      __builtin_trap();  // something ended the agent
    }
  }
  pb::HelloReply Greeting(Client& client) {
    RunAgent();
    auto reply = client.Take<pb::HelloReply>();
    if (!reply || !reply->error().empty()) {
      __builtin_trap();
    }
    return std::move(*reply);
  }
  pb::Reply Call(Client& client, const pb::Request& request) {
    client.Send(request);
    RunAgent();
    auto message = client.Take<pb::FromAgent>();
    if (!message || !message->has_reply()) {
      __builtin_trap();
    }
    return std::move(*message->mutable_reply());
  }

  void Start() {
    control_.emplace(Socket(), pb::ROLE_CONTROL);
    const std::uint64_t number = Greeting(*control_).provider();
    worker_.emplace(Socket(), pb::ROLE_WORKER, number);
    Greeting(*worker_);
    pb::Request request;
    for (const char* name : kCallpoints) {
      request.mutable_register_provider()->add_callpoints(name);
    }
    request.mutable_register_provider()->add_actionpoints("clear_cfm_statistics");
    if (Call(*control_, request).errors_size() != 0) {
      __builtin_trap();
    }
  }

  // Runs the agent and takes what it says to anybody.
  void Settle() {
    RunAgent();
    while (const auto message = front_->Take<pb::FromAgent>()) {
      reading_ = false;
      Check(message->reply());
    }
    while (editor_->Take<pb::FromAgent>()) {
      editing_ = false;
    }
    for (std::optional<Client>* each : {&control_, &worker_}) {
      while (*each) {
        auto message = (*each)->Take<pb::FromAgent>();
        if (!message) {
          break;
        }
        for (const pb::ProviderRequest& request : message->read_batch().requests()) {
          pending_.push_back({request, true});
        }
        if (message->has_provider_request()) {
          pending_.push_back({message->provider_request(), each == &worker_});
        }
      }
    }
  }
  static void Check(const pb::Reply& reply) {
    static const agentd::Model model(CFM_MODEL_DIR);
    if (reply.document().empty()) {
      return;
    }
    lyd_node* tree = nullptr;
    const LYD_FORMAT format = reply.document().front() == '<' ? LYD_XML : LYD_JSON;
    if (lyd_parse_data_mem(model.Context(), reply.document().c_str(), format,
                           LYD_PARSE_ONLY | LYD_PARSE_STRICT, 0, &tree) != LY_SUCCESS) {
      __builtin_trap();
    }
    lyd_free_all(tree);
  }

  void Step(fuzz::Input& input) {
    const auto action = input.Take<std::uint8_t>();
    switch (action % 16) {
      case 0:
      case 1:
        return Read(action / 16);
      case 2:
        return Perform();
      case 3:
        return Commit(action / 16);
      case 4:
        return action / 16 % 2 == 0 ? Delete("local", 0) : Delete("remote", 1);
      case 5:
        return action / 16 % 2 == 0 ? Create("local", 0, "mep", 5)
                                    : Create("remote", 1, "remote-mep", 100);
      case 6:
        return Say(action / 16 % 2 == 0, input.TakeBlock());
      case 7:
        front_.emplace(Socket(), pb::ROLE_FRONT_END);
        reading_ = false;
        Greeting(*front_);
        return;
      default:
        return Answer(action, input);
    }
  }

  void Read(unsigned which) {
    if (reading_) {
      return;
    }
    reading_ = true;
    pb::Request request;
    pb::Get& get = *request.mutable_get();
    get.set_datastore(pb::DATASTORE_OPERATIONAL);
    get.set_path(kPaths[which % std::size(kPaths)]);
    get.set_format(which / 4 % 2 == 0 ? pb::FORMAT_XML : pb::FORMAT_JSON);
    front_->Send(request);
  }
  void Perform() {
    if (reading_) {
      return;
    }
    reading_ = true;
    pb::Request request;
    request.mutable_invoke()->set_operation("clear-statistics");
    front_->Send(request);
  }
  void Commit(unsigned level) {
    if (editing_) {
      return;
    }
    editing_ = true;
    pb::Request request;
    pb::EditOperation& operation = *request.mutable_edit()->add_operations();
    operation.set_path("/config/oam/cfm/md[id='east']/level");
    operation.set_value(std::to_string(level % 8));
    editor_->Send(request);
  }

  pb::OperationalWrite& Write(pb::Request& request, pb::OperationalWrite::Operation operation,
                              const char* list, int key) {
    pb::OperationalWrite& write = *request.mutable_operational_write();
    write.set_operation(operation);
    for (const char* name : {"status", "oam", "cfm", list}) {
      write.mutable_path()->add_steps()->set_name(name);
    }
    *write.mutable_path()->mutable_steps(3)->add_keys() = Number(C_INT64, key);
    return write;
  }
  void Set(const char* list, int key, const char* leaf, const pb::Value& value) {
    pb::Request request;
    pb::OperationalWrite& write = Write(request, pb::OperationalWrite::SET, list, key);
    write.mutable_path()->add_steps()->set_name(leaf);
    *write.mutable_value() = value;
    Call(*writer_, request);
  }
  // Does nothing for an entry that is there.
  void Create(const char* list, int key, const char* mep_leaf, int mep) {
    pb::Request request;
    Write(request, pb::OperationalWrite::CREATE, list, key);
    if (Call(*writer_, request).errors_size() == 0) {
      Set(list, key, "md", Text("east"));
      Set(list, key, "ma", Text("blue"));
      Set(list, key, mep_leaf, Number(C_INT32, mep));
    }
  }
  void Delete(const char* list, int key) {
    pb::Request request;
    Write(request, pb::OperationalWrite::DELETE, list, key);
    Call(*writer_, request);
  }

  void Say(bool on_control, std::string_view bytes) {
    (on_control ? control_ : worker_)->Send(bytes);
  }
  void Reply(bool on_worker, const pb::ProviderReply& reply) {
    pb::Request request;
    *request.mutable_provider_reply() = reply;
    (on_worker ? worker_ : control_)->Send(request);
  }
  void Answer(std::uint8_t action, fuzz::Input& input) {
    if (pending_.empty()) {
      return;
    }
    if (action % 16 == 8 && action >= 0x80) {
      return AnswerAll(input.Take<std::uint8_t>());
    }
    // Mostly the oldest, sometimes one of the others.
    const std::size_t which = action >= 0xf0 ? input.Take<std::uint8_t>() % pending_.size() : 0;
    const Pending asked = pending_[which];
    pb::ProviderReply reply = Plain(asked.request);
    switch (action % 8) {
      case 0:
      case 1:
      case 2:
        break;
      case 3:
        reply.set_result(pb::ProviderReply::DELAYED);
        Reply(asked.is_worker, reply);
        pending_.push_back(asked);
        break;
      case 4:
        reply.set_next(static_cast<std::int8_t>(input.Take<std::uint8_t>()));
        reply.mutable_value()->set_type(input.Take<std::uint8_t>() % 40);
        reply.mutable_value()->set_number(input.Take<std::int64_t>());
        break;
      case 5:
        reply.set_result(static_cast<pb::ProviderReply::Result>(input.Take<std::uint8_t>() % 6));
        reply.set_error("the provider's");
        break;
      case 6:  // and stays to be answered again
        return Reply(asked.is_worker != (action >= 0xe0), reply);
      default:
        TakeReply(input, asked.request.id(), reply);
    }
    pending_.erase(pending_.begin() + static_cast<std::ptrdiff_t>(which));
    if (action % 8 != 3) {
      Reply(asked.is_worker, reply);
    }
  }
  // In one message: so many with what a daemon answers, the others unasked.
  void AnswerAll(std::size_t asked) {
    pb::Request request;
    for (const Pending& each : std::exchange(pending_, {})) {
      auto& replies = *request.mutable_provider_replies();
      *replies.add_replies() = Plain(each.request);
      if (static_cast<std::size_t>(replies.replies_size()) > asked) {
        replies.mutable_replies(replies.replies_size() - 1)->set_result(pb::ProviderReply::UNASKED);
      }
    }
    worker_->Send(request);
  }
  // As the input has it, but for a request that was made.
  static void TakeReply(fuzz::Input& input, std::uint64_t id, pb::ProviderReply& reply) {
    const std::string_view bytes = input.TakeBlock();
    pb::ProviderReply given;
    if (fuzz::Parses(bytes, given)) {
      reply = given;
    }
    reply.set_id(reply.id() < 1U << 8 ? id : reply.id());
  }
  // What a daemon answers.
  static pb::ProviderReply Plain(const pb::ProviderRequest& request) {
    static const agentd::Model model(CFM_MODEL_DIR);
    pb::ProviderReply reply;
    reply.set_id(request.id());
    if (request.has_get_next()) {
      const std::int64_t next = std::max<std::int64_t>(request.get_next().next(), 0);
      reply.set_result(next < 2 ? pb::ProviderReply::OK : pb::ProviderReply::NOT_FOUND);
      *reply.add_keys() = Number(C_INT32, 10 * (next + 1));
      reply.set_next(next + 1);
    } else if (request.has_get_elem()) {
      const auto name = model.Names().find(request.get_elem().keypath().elements(0).tag());
      const auto type = kTypes.find(name->second);
      *reply.mutable_value() = type != kTypes.end() ? Number(type->second, 1) : Text("text");
    }
    return reply;
  }

  static inline std::filesystem::path directory_;
  sd_event* loop_ = nullptr;
  std::optional<agentd::Agent> agent_;
  std::optional<Client> front_;   // reads and performs
  std::optional<Client> editor_;  // commits
  std::optional<Client> writer_;  // of operational data
  std::optional<Client> control_;
  std::optional<Client> worker_;
  std::deque<Pending> pending_;
  bool reading_ = false;
  bool editing_ = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto& target = *new Target;
  target.Feed(fuzz::Input(data, size));
  return 0;
}
