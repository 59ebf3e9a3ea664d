#include <fmt/format.h>
#include <fmt/ostream.h>
#include <limid.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

#include "client/verification.h"
#include "command.h"
#include "core/counts.h"
#include "core/failure.h"
#include "validators.h"

namespace cfmctl {
namespace {

constexpr std::size_t kMaxShown = 10;

// 0 for an unknown name, as the daemon has it.
std::uint32_t InterfaceId(const std::string& name) {
  std::uint32_t id = 0;
  static_cast<void>(limid_from_intfname(&id, name.c_str()));
  return id;
}

std::vector<std::string> ToLines(const std::vector<Difference>& differences) {
  const std::size_t shown = std::min(differences.size(), kMaxShown);
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < shown; ++i) {
    lines.push_back(ToText(differences[i]));
  }
  if (differences.size() > shown) {
    lines.push_back(fmt::format("and {} more", differences.size() - shown));
  }
  if (std::ranges::any_of(differences, [](const Difference& difference) {
        return difference.field == "logical-interface-id";
      })) {
    lines.emplace_back(
        "the daemon takes interface ids when it reads a MEP: after a change of the interface table "
        "restart cfm-app");
  }
  return lines;
}

void Verify(const Environment& environment, double wait) {
  Verification verification(environment.ConnectAgent(), environment.ConnectAgent(),
                            environment.ConnectManager(), InterfaceId, environment.Timeout());
  const std::vector<Difference> differences =
      verification.Await(Deadline::After(ToMilliseconds(wait)));
  if (!differences.empty()) {
    throw Failure(ExitStatus::kRefused,
                  fmt::format("the CFM manager does not hold what is committed (transaction {}): "
                              "{} difference{}",
                              verification.TransactionId(), differences.size(),
                              differences.size() == 1 ? "" : "s"),
                  ToLines(differences));
  }
  fmt::print(environment.out, "the CFM manager holds what is committed: transaction {}, {}\n",
             verification.TransactionId(), CountsText(verification.Committed()));
}

}  // namespace

void AddVerify(CLI::App& app, Environment& environment) {
  app.description("Prove that the CFM manager holds exactly what is committed");
  app.footer(
      "Takes the running configuration from the agent, works out the hierarchy without the\n"
      "daemon's help, and compares it with the manager's field by field. Interface names\n"
      "become ids through the interface table (CFM_INTERFACES).\n\n"
      "Examples:\n"
      "  cfmctl load all.xml && cfmctl verify\n"
      "  cfmctl verify --wait 0               at once, without patience for a commit under way");
  const auto wait = std::make_shared<double>(5);
  app.add_option("--wait", *wait, "Seconds that the two sides may take to become equal (5)")
      ->check(SecondsFrom(0));
  app.callback([wait, &environment] { Verify(environment, *wait); });
}

}  // namespace cfmctl
