// The arguments of C functions that take a path as a format.
#ifndef CONFD_CLIENT_PATH_ARGUMENTS_H
#define CONFD_CLIENT_PATH_ARGUMENTS_H

#include <cstdarg>

#include "confd_client/path_parser.h"

// Declares `name`, a VariadicArguments of what follows the parameter `fmt`. A
// macro, because va_start stands in the function whose arguments it takes.
#define CONFD_PATH_ARGUMENTS(name, fmt)       \
  std::va_list name##_list;                   \
  va_start(name##_list, fmt);                 \
  confd::VariadicArguments name(name##_list); \
  va_end(name##_list)

#endif
