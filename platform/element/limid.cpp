#include "limid.h"

#include <exception>
#include <string>

#include "interface_table_file.h"
#include "log_output.h"
#include "paths.h"

namespace {

// Tells operators once what is wrong with the table, not at every call.
const elem::InterfaceTable* CurrentTable() {
  static elem::InterfaceTableFile file;
  static std::string reported;
  const elem::InterfaceTable* table = file.Get(ipc::InterfaceTablePath());
  if (file.Problem() != reported) {
    reported = file.Problem();
    if (!reported.empty()) {
      ipc::ReportError("no logical interface ids: " + reported);
    }
  }
  return table;
}

}  // namespace

int limid_from_intfname(uint32_t* limid, const char* name) {
  try {
    const elem::InterfaceTable* table = CurrentTable();
    const elem::Interface* found = table != nullptr ? table->FindByName(name) : nullptr;
    if (found == nullptr) {
      return -1;
    }
    *limid = found->limid;
    return 0;
  } catch (const std::exception& error) {
    ipc::ReportError(std::string("no logical interface id: ") + error.what());
    return -1;
  }
}
