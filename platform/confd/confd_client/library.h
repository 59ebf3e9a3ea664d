// What confd_init sets: the program's name and how much the library says.
#ifndef CONFD_CLIENT_LIBRARY_H
#define CONFD_CLIENT_LIBRARY_H

#include <confd_lib.h>

#include <string>

namespace confd {

// Given to confd_init; before that the name of the program's file.
const std::string& ProgramName();

// One line on the stream of confd_init when its level reaches `level`.
void Say(confd_debug_level level, const char* text) noexcept;

}  // namespace confd

#endif
