// The element's interface table as the manager asks for it.
#ifndef CFM_MANAGER_ELEMENT_INTERFACES_H
#define CFM_MANAGER_ELEMENT_INTERFACES_H

#include <filesystem>
#include <string>

#include "interface_check.h"
#include "interface_table_file.h"
#include "log_category.h"

namespace cfm {

class ElementInterfaces {
 public:
  // A table that cannot be used now may become usable later, as it may for the
  // id service: until then the element has no interface.
  ElementInterfaces(std::filesystem::path table, const LogCategory& log);

  // The interfaces as the table has them now. What comes back is good until
  // the next call.
  InterfaceExists Now();
  // The same as a table; null when it cannot be used.
  const elem::InterfaceTable* Table();

 private:
  void Report(const std::string& problem);

  std::filesystem::path path_;
  LogCategory log_;
  elem::InterfaceTableFile file_;
  std::string reported_;  // problem that was logged last
};

}  // namespace cfm

#endif
