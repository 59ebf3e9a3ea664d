#include "element.h"

#include <signal.h>

#include <fstream>
#include <stdexcept>

namespace test {

Element::Element() {
  const std::filesystem::path& directory = directory_.Path();
  std::filesystem::create_directory(directory / "run");
  std::filesystem::create_directory(directory / "state");
  std::ofstream interfaces(directory / "interfaces");
  for (int port = 0; port < 10; ++port) {
    interfaces << "eth" << port << ' ' << 1001 + port << " wire "
               << (directory / "run" / "port").string() << port << '\n';
  }
  environment_ = {{"CFM_RUNTIME_DIR", RuntimeDirectory().string()},
                  {"CFM_STATE_DIR", (directory / "state").string()},
                  {"CFM_INTERFACES", (directory / "interfaces").string()},
                  {"CFM_YANG_DIR", CFM_MODEL_DIR},
                  {"CFM_LOG", "stderr"}};
}

void Element::SetInterfaces(const std::string& table) {
  std::ofstream(directory_.Path() / "interfaces") << table;
}

void Element::SetVariable(const std::string& name, const std::string& value) {
  environment_[name] = value;
}

void Element::RemoveVariable(const std::string& name) {
  environment_.erase(name);
}

Process& Element::Start(std::unique_ptr<Process>& slot, const std::string& name,
                        const std::vector<std::string>& command) {
  slot.reset();
  slot =
      std::make_unique<Process>(command, Process::Options{environment_, directory_.Path(), name});
  return *slot;
}

Process& Element::StartAgent(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {AGENTD};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return Start(agent_, "agentd", command);
}

std::unique_ptr<Process> Element::StartSecond(const std::string& name) {
  static const std::map<std::string, std::string> kPrograms = {
      {"agentd", AGENTD}, {"cfm-managerd", CFM_MANAGERD}, {"cfm-app", CFM_APP}};
  return std::make_unique<Process>(
      std::vector<std::string>{kPrograms.at(name)},
      Process::Options{environment_, directory_.Path(), name + "-second"});
}

Process& Element::StartManager() {
  return Start(manager_, "cfm-managerd", {CFM_MANAGERD});
}

Process& Element::StartDaemon() {
  return Start(daemon_, "cfm-app", {CFM_APP});
}

void Element::StartAll() {
  StartAgent();
  StartManager();
  if (!Agent().AwaitReady() || !Manager().AwaitReady()) {
    throw std::runtime_error("a daemon did not become ready: " + Agent().Log() + Manager().Log());
  }
  if (!StartDaemon().AwaitReady()) {
    throw std::runtime_error("cfm-app did not become ready: " + Daemon().Log());
  }
}

void Element::Kill(std::unique_ptr<Process>& process) {
  process->Signal(SIGKILL);
  process->AwaitExit();
}

CommandResult Element::Cfmctl(const std::vector<std::string>& arguments, const std::string& input) {
  std::vector<std::string> command = {CFMCTL};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return Run(command, environment_, input);
}

std::unique_ptr<Process> Element::StartCfmctl(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {CFMCTL};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return std::make_unique<Process>(
      command,
      Process::Options{environment_, directory_.Path(), "cfmctl-" + std::to_string(++commands_)});
}

}  // namespace test
