// Path formats of the CDB calls: parsed with the arguments at hand, never
// printed and parsed again, so nothing that an argument holds can be read as
// syntax.
//
//   path     = 1*( "/" node [ keys / position ] ) [ "/" ]
//   node     = name / "%s"
//   keys     = "{" key *( " " key ) "}"
//   key      = "%d" / "%u" / "%s" / "%x" / quoted / literal
//   position = "[" ( "%d" / "%u" / digits ) "]"
//   quoted   = '"' text with \" and \\ '"'
//   literal  = text without spaces, braces, quotes, backslashes and "%"
#ifndef CONFD_CLIENT_PATH_PARSER_H
#define CONFD_CLIENT_PATH_PARSER_H

#include <cstdarg>
#include <stdexcept>
#include <string>
#include <string_view>

#include "confd_client/path.h"

namespace confd {

// What the verbs of a format take, in order.
class Arguments {
 public:
  virtual ~Arguments() = default;
  virtual int NextInt() = 0;                     // %d
  virtual unsigned int NextUnsigned() = 0;       // %u
  virtual const char* NextString() = 0;          // %s
  virtual const confd_value_t* NextValue() = 0;  // %x
};

// The arguments of a C call.
class VariadicArguments : public Arguments {
 public:
  explicit VariadicArguments(std::va_list list) { va_copy(list_, list); }
  ~VariadicArguments() override { va_end(list_); }

  VariadicArguments(const VariadicArguments&) = delete;
  VariadicArguments& operator=(const VariadicArguments&) = delete;

  int NextInt() override { return va_arg(list_, int); }
  unsigned int NextUnsigned() override { return va_arg(list_, unsigned int); }
  const char* NextString() override { return va_arg(list_, const char*); }
  const confd_value_t* NextValue() override { return va_arg(list_, const confd_value_t*); }

 private:
  std::va_list list_;
};

// Why a format is no path; `Position` counts the format's characters from 0.
class PathError : public std::runtime_error {
 public:
  PathError(std::size_t position, const std::string& cause)
      : std::runtime_error(cause), position_(position) {}
  std::size_t Position() const { return position_; }

 private:
  std::size_t position_;
};

// Takes one argument per verb. Throws PathError.
Path ParsePath(std::string_view format, Arguments& arguments);

// The same for a C call: a null or bad format is an ApiError with
// CONFD_ERR_BADPATH whose text holds the format, the position and the cause.
Path ParseFormat(const char* format, Arguments& arguments);

}  // namespace confd

#endif
