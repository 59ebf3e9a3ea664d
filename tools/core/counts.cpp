#include "counts.h"

#include <fmt/format.h>

namespace cfmctl {
namespace {

std::string Count(std::size_t count, std::string_view name) {
  return fmt::format("{} {}{}", count, name, count == 1 ? "" : "s");
}

}  // namespace

std::string CountsText(const cfm::Hierarchy& hierarchy) {
  std::size_t mas = 0;
  std::size_t meps = 0;
  for (const auto& [md_name, md] : hierarchy) {
    mas += md.mas.size();
    for (const auto& [ma_name, ma] : md.mas) {
      meps += ma.meps.size();
    }
  }
  return fmt::format("{}, {}, {}", Count(hierarchy.size(), "MD"), Count(mas, "MA"),
                     Count(meps, "MEP"));
}

}  // namespace cfmctl
