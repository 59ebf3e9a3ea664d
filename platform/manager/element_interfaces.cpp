#include "element_interfaces.h"

#include <utility>

namespace cfm {

ElementInterfaces::ElementInterfaces(std::filesystem::path table, const LogCategory& log)
    : path_(std::move(table)), log_(log) {
  Now();  // so that operators read of a bad table at the start
}

const elem::InterfaceTable* ElementInterfaces::Table() {
  const elem::InterfaceTable* table = file_.Get(path_);
  Report(file_.Problem());
  return table;
}

InterfaceExists ElementInterfaces::Now() {
  const elem::InterfaceTable* table = Table();
  return
      [table](std::uint32_t id) { return table != nullptr && table->FindByLimid(id) != nullptr; };
}

void ElementInterfaces::Report(const std::string& problem) {
  if (problem == reported_) {
    return;
  }
  reported_ = problem;
  if (problem.empty()) {
    log_.Info("the interface table can be used again");
  } else {
    log_.Error("the element has no interfaces: " + problem);
  }
}

}  // namespace cfm
