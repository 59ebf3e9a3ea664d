#include "confd_client/library.h"

#include <cerrno>

#include "confd_client/error.h"

namespace confd {
namespace {

FILE* stream = nullptr;
confd_debug_level stream_level = CONFD_SILENT;

std::string& Name() {
  static std::string name = program_invocation_short_name;
  return name;
}

}  // namespace

const std::string& ProgramName() {
  return Name();
}

void Say(confd_debug_level level, const char* text) noexcept {
  if (stream != nullptr && level <= stream_level) {
    std::fprintf(stream, "confd: %s\n", text);
  }
}

}  // namespace confd

extern "C" void confd_init(const char* name, FILE* estream, const enum confd_debug_level debug) {
  confd::stream = estream;
  confd::stream_level = debug;
  confd::Guarded([&] {
    if (name != nullptr) {
      confd::Name() = name;
    }
    return CONFD_OK;
  });
}
