#include "interface_check.h"

#include <fmt/format.h>

#include "node_name.h"

namespace cfm {

std::vector<std::string> FindMepsWithoutInterface(const Hierarchy& hierarchy,
                                                  const InterfaceExists& exists) {
  std::vector<std::string> lines;
  for (const auto& [md_name, md] : hierarchy) {
    for (const auto& [ma_name, ma] : md.mas) {
      for (const auto& [mep_id, mep] : ma.meps) {
        const std::uint32_t id = mep.logical_interface_id;
        if (id == 0 || !exists(id)) {
          lines.push_back(fmt::format("{}: no interface with logical id {}",
                                      MepText(md_name, ma_name, mep_id), id));
        }
      }
    }
  }
  return lines;
}

}  // namespace cfm
