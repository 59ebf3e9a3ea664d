// Memory of confd_value_t: whatever a call hands out is malloc'ed, because a
// program frees parts of it itself.
#ifndef CONFD_CLIENT_VALUE_H
#define CONFD_CLIENT_VALUE_H

#include <confd_lib.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace confd {

// Writes a copy of `from` that owns its memory. Throws std::bad_alloc.
void CopyValue(const confd_value_t& from, confd_value_t& to);

// Bytes of a C_BUF or C_STR; nothing for other types.
std::optional<std::string_view> BytesOf(const confd_value_t& value);

// Integers, booleans and enumeration values, 64-bit unsigned ones bit for bit;
// nothing for other types.
std::optional<std::int64_t> NumberOf(const confd_value_t& value);

}  // namespace confd

#endif
