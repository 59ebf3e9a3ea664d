// How values and keys read in texts for people.
#ifndef CONFD_CLIENT_VALUE_TEXT_H
#define CONFD_CLIENT_VALUE_TEXT_H

#include <confd_lib.h>

#include <string>
#include <string_view>

namespace confd {

class Names;

// Strings as they are, numbers in decimal, an enumeration its number, an
// empty leaf the name of its node, a list {a b}, C_NOEXISTS <noexists>.
std::string ValueText(const confd_value_t& value, const Names& names);

// A name, or the number in brackets of a tag that has none.
std::string TagText(std::uint32_t tag, const Names& names);

// A key between braces: in double quotes where it would not be one key
// otherwise.
std::string QuotedKey(std::string_view key);

}  // namespace confd

#endif
