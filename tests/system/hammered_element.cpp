#include "hammered_element.h"

#include <fmt/format.h>
#include <manager.pb.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <type_traits>

#include "connect.h"
#include "frame.h"
#include "hierarchy_codec.h"

namespace test {
namespace {

constexpr int kReaders = 5;
constexpr int kQuitters = 2;
constexpr int kClearers = 2;

// Stays, whatever random commits do: they have other names.
constexpr const char* kFixedMd = "fixed";
constexpr const char* kFixedMa = "wire";

Configuration FixedConfiguration(int mep, int remote) {
  ContinuityCheck check;
  check.cci_enabled = true;
  Ma ma;
  ma.ccm_interval = "1s";
  ma.primary_vlan_id = 100;
  ma.vlan_list = {100};
  ma.remote_meps = {remote};
  ma.meps[mep] = Mep{.interface = kInterfaces[0],
                     .direction = "down",
                     .primary_vlan_id = {},
                     .continuity_check = check};
  Md md;
  md.level = 7;
  md.mas[kFixedMa] = ma;
  return {{kFixedMd, md}};
}

std::string FixedDocument(int mep, int remote) {
  return fmt::format(
      R"({{"element-cfm:config":{{"oam":{{"cfm":{{"md":[{{"id":"{}","level":7,"ma":[{{"id":"{}",)"
      R"("ccm-interval":"1s","primary-vlan-id":100,"vlan-list":[100],"remote-meps":[{}],"mep":[)"
      R"({{"id":{},"interface":"{}","direction":"down","continuity-check":{{)"
      R"("cci-enabled":[null]}}}}]}}]}}]}}}}}}}})",
      kFixedMd, kFixedMa, remote, mep, kInterfaces[0]);
}

void AwaitReadable(int fd, const std::string& what) {
  pollfd event{fd, POLLIN, 0};
  const auto patience = std::chrono::duration_cast<std::chrono::milliseconds>(kPatience);
  if (poll(&event, 1, static_cast<int>(patience.count())) != 1) {
    throw std::runtime_error(what + " did not come");
  }
}

cfm::agent::Request Clear() {
  cfm::agent::Request request;
  request.mutable_invoke()->set_operation("clear-statistics");
  return request;
}

cfm::agent::Request Read(const std::string& path) {
  cfm::agent::Request request;
  cfm::agent::Get& get = *request.mutable_get();
  get.set_datastore(cfm::agent::DATASTORE_OPERATIONAL);
  get.set_path(path);
  get.set_format(cfm::agent::FORMAT_TREE);
  return request;
}

// The MEPs of which the manager tells the status.
std::set<RecordIdentity> MepsOf(const cfm::Hierarchy& hierarchy) {
  std::set<RecordIdentity> meps;
  for (const auto& [md_name, md] : hierarchy) {
    for (const auto& [ma_name, ma] : md.mas) {
      for (const auto& [id, mep] : ma.meps) {
        meps.insert({"local", md_name, ma_name, id});
      }
      for (const std::uint16_t id : ma.association.mep_ids) {
        if (!ma.meps.contains(id) && !ma.meps.empty()) {
          meps.insert({"remote", md_name, ma_name, id});
        }
      }
    }
  }
  return meps;
}

cfm::Hierarchy HeldBy(const std::filesystem::path& manager) {
  const ipc::UniqueFd socket = ipc::ConnectUnix(manager);
  cfm::manager::Hello hello;
  hello.set_version(1);
  hello.set_role(cfm::manager::ROLE_OBSERVE);
  hello.set_name("test");
  ipc::SendFrame(socket.Get(), hello);
  cfm::manager::HelloReply welcome;
  cfm::manager::FromManager message;
  if (!ipc::ReceiveFrame(socket.Get(), welcome) || !welcome.error().empty() ||
      !ipc::ReceiveFrame(socket.Get(), message) || !message.has_configuration()) {
    throw std::runtime_error("the manager does not show what it holds: " + welcome.error());
  }
  return cfm::DecodeHierarchy(message.configuration());
}

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

// Throws when a log holds what none may hold.
void CheckLog(const std::string& name, const std::string& log) {
  for (const char* trouble :
       {"severity=", "runtime error:", "Sanitizer", "Assertion", "Error getting", "Failed to",
        "Error to", "Ignoring un-existent local", "did not answer in time",
        "gave no sign of life"}) {
    const auto at = log.find(trouble);
    if (at != std::string::npos) {
      const auto begin = log.rfind('\n', at) + 1;
      throw std::runtime_error(name + " logged: " + log.substr(begin, 1000));
    }
  }
}

}  // namespace

HammeredElement::HammeredElement(std::uint32_t seed, const std::string& interfaces, int mep,
                                 int remote)
    : fixed_mep_{"local", kFixedMd, kFixedMa, mep} {
  element_.SetInterfaces(interfaces);
  element_.StartAll();
  const CommandResult loaded = element_.Cfmctl({"load", "-"}, FixedDocument(mep, remote));
  if (loaded.status != 0) {
    throw std::runtime_error("load: " + loaded.error);
  }
  const Configuration fixed = FixedConfiguration(mep, remote);
  scene_.runtime_directory = element_.RuntimeDirectory();
  scene_.history = std::make_unique<ConfigurationHistory>(fixed);
  control_ = std::make_unique<FrontEnd>(scene_.runtime_directory);
  watcher_ = std::make_unique<FrontEnd>(scene_.runtime_directory);
  cfm::agent::Request watch;
  watch.mutable_watch_operational()->set_path("/element-cfm:status/oam/cfm");
  watcher_->Send(watch);
  AwaitRecords();

  std::seed_seq seeds{seed, static_cast<std::uint32_t>(mep)};
  std::vector<std::uint32_t> each(kReaders + kQuitters + kClearers + 1);
  seeds.generate(each.begin(), each.end());
  auto next = each.begin();
  const auto add = [&]<typename Actor>(std::type_identity<Actor>, int count) {
    for (; count > 0; --count) {
      actors_.push_back(std::make_unique<Actor>(scene_, *next++));
    }
  };
  add(std::type_identity<HammerReader>{}, kReaders);
  add(std::type_identity<HammerQuitter>{}, kQuitters);
  add(std::type_identity<HammerClearer>{}, kClearers);
  actors_.push_back(std::make_unique<HammerConfigurator>(scene_, *next++, fixed));
}

// Hammering ---------------------------------------------------------------------

void HammeredElement::AddTo(std::vector<pollfd>& events) const {
  for (const Process* process : {&element_.Agent(), &element_.Manager(), &element_.Daemon()}) {
    events.push_back({process->EndFd(), POLLIN, 0});
  }
  events.push_back({watcher_->Fd(), POLLIN, 0});
  for (const auto& actor : actors_) {
    if (actor->IsWaiting()) {
      events.push_back({actor->Fd(), POLLIN, 0});
    }
  }
}

void HammeredElement::Work(int fd) {
  for (const Process* process : {&element_.Agent(), &element_.Manager(), &element_.Daemon()}) {
    if (process->EndFd() == fd) {
      throw std::runtime_error("a process ended");
    }
  }
  if (watcher_->Fd() == fd) {
    return WorkWatcher();
  }
  for (const auto& actor : actors_) {
    if (actor->IsWaiting() && actor->Fd() == fd) {
      return actor->Receive();
    }
  }
}

void HammeredElement::Step(bool may_begin) {
  for (const auto& actor : actors_) {
    actor->Step(may_begin);
  }
}

bool HammeredElement::IsWaiting() const {
  return std::ranges::any_of(actors_, [](const auto& actor) { return actor->IsWaiting(); });
}

// Rest --------------------------------------------------------------------------

cfm::agent::Reply HammeredElement::Ask(const cfm::agent::Request& request) {
  control_->Send(request);
  AwaitReadable(control_->Fd(), "a reply");
  cfm::agent::Reply reply = control_->Receive();
  if (!reply.errors().empty() || !reply.warnings().empty()) {
    throw std::runtime_error(
        "at rest: " + (reply.errors().empty() ? reply.warnings(0) : reply.errors(0).message()));
  }
  return reply;
}

std::string HammeredElement::KeyOfFixedMep() const {
  const auto& records = scene_.view.All();
  const auto found = std::ranges::find_if(
      records, [this](const auto& record) { return record.second.identity == fixed_mep_; });
  if (found == records.end()) {
    throw std::runtime_error("the MEP that stays has no record");
  }
  return found->first.id;
}

// Statistics that were just cleared have to come from the manager, which works
// its requests in order. A removal that comes while one is under way waits for
// its end; so it may take one for the configuration before the last, one for
// the last, and one more to see that it is done.
void HammeredElement::AwaitManager() {
  const std::string path =
      fmt::format("/element-cfm:status/oam/cfm/local[id='{}']/mep-ccms-sent", KeyOfFixedMep());
  for (int i = 0; i < 3; ++i) {
    Ask(Clear());
    if (Ask(Read(path)).node().kind() != cfm::agent::Node::LEAF) {
      throw std::runtime_error("at rest: no statistics of the MEP that stays");
    }
  }
}

void HammeredElement::CheckAgent() {
  const auto reply = Ask(Read("/element-cfm:status/oam/cfm"));
  test::CheckAtRest(RecordsIn(reply.node()), *scene_.history);
}

void HammeredElement::CheckManager() const {
  const auto held = MepsOf(HeldBy(scene_.runtime_directory / "cfm-managerd.sock"));
  if (held != scene_.history->Latest().published) {
    throw std::runtime_error(fmt::format("the manager holds {} MEPs and {} are configured",
                                         held.size(), scene_.history->Latest().published.size()));
  }
}

// The watcher is told of everything, but not before the reader.
void HammeredElement::AwaitRecords() {
  const std::set<RecordIdentity>& published = scene_.history->Latest().published;
  while (!std::ranges::equal(scene_.view.Identities(), published)) {
    AwaitReadable(watcher_->Fd(), "the watcher's news of what there is");
    WorkWatcher();
  }
}

void HammeredElement::CheckAtRest() {
  AwaitManager();
  CheckAgent();
  CheckManager();
  AwaitRecords();
  scene_.view.CheckMissing();
  scene_.history->Forget();
}

DelayedReplies HammeredElement::Stop() {
  actors_.clear();
  watcher_.reset();
  control_.reset();
  const std::pair<const char*, Process*> processes[] = {{"cfm-app", &element_.Daemon()},
                                                        {"cfm-managerd", &element_.Manager()},
                                                        {"agentd", &element_.Agent()}};
  for (const auto& [name, process] : processes) {
    if (const auto status = process->Stop(); status != 0) {
      throw std::runtime_error(fmt::format("{} ended with {}", name, status.value_or(-1)));
    }
    CheckLog(name, process->Log());
  }
  const std::string log = element_.Daemon().Log();
  return {CountOf(log, "Requesting it to CFM Manager..."), CountOf(log, "Queued keypath: ")};
}

// The last of each log, where the trouble is.
std::string HammeredElement::Logs() {
  constexpr std::size_t kMost = 6000;
  std::string text;
  for (Process* process : {&element_.Daemon(), &element_.Manager(), &element_.Agent()}) {
    const std::string log = process->Log();
    text += "-----\n" + log.substr(log.size() - std::min(log.size(), kMost));
  }
  return text;
}

}  // namespace test
