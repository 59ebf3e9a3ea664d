// The element's interface table. One that was accepted finds each of its
// interfaces by name and by id.
#include "interface_table.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  try {
    const elem::InterfaceTable table = elem::ParseInterfaceTable(input.Rest(), "fuzzed");
    for (const elem::Interface& interface : table.All()) {
      if (table.FindByName(interface.name) != &interface ||
          table.FindByLimid(interface.limid) != &interface || interface.limid == 0) {
        __builtin_trap();
      }
    }
  } catch (const elem::InterfaceTableError&) {
  }
  return 0;
}
