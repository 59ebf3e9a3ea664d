// The read calls: values of the datastore as the types of C.
#include <confd_cdb.h>

#include <algorithm>
#include <iterator>

#include "confd_client/path_arguments.h"
#include "confd_client/path_call.h"
#include "confd_client/reader.h"
#include "confd_client/value.h"
#include "confd_client/wire_value.h"

namespace confd {
namespace {

[[noreturn]] void ThrowBadType(const char* wanted) {
  throw ApiError(CONFD_ERR_BADTYPE, std::string("the node is no ") + wanted);
}

// Has `take` take the value at the path, if there is one.
template <typename Take>
int TakeValue(Connection& connection, const Path& path, Take take) {
  const cfm::agent::Value* value = FindValue(connection, path);
  if (value == nullptr) {
    SetError(CONFD_ERR_NOEXISTS, PathText(path) + ": no such node exists");
    return CONFD_ERR;
  }
  take(BorrowedValue(*value).Get());
  return CONFD_OK;
}

int Get(Connection& connection, const Path& path, confd_value_t* result) {
  return TakeValue(connection, path,
                   [result](const confd_value_t& value) { CopyValue(value, *result); });
}

int GetInt32(Connection& connection, const Path& path, int32_t* result) {
  return TakeValue(connection, path, [result](const confd_value_t& value) {
    constexpr confd_vtype kFitting[] = {C_INT8, C_INT16, C_INT32, C_UINT8, C_UINT16};
    if (std::ranges::find(kFitting, value.type) == std::end(kFitting)) {
      ThrowBadType("32-bit integer");
    }
    *result = static_cast<int32_t>(*NumberOf(value));
  });
}

int GetEnumValue(Connection& connection, const Path& path, int32_t* result) {
  return TakeValue(connection, path, [result](const confd_value_t& value) {
    if (value.type != C_ENUM_VALUE) {
      ThrowBadType("enumeration");
    }
    *result = CONFD_GET_ENUM_VALUE(&value);
  });
}

int GetString(Connection& connection, const Path& path, char* result, int size) {
  if (size < 1) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, "the result has no room for a text");
  }
  return TakeValue(connection, path, [result, size](const confd_value_t& value) {
    const auto bytes = BytesOf(value);
    if (!bytes) {
      ThrowBadType("string");
    }
    const std::size_t length = std::min(bytes->size(), static_cast<std::size_t>(size) - 1);
    std::copy_n(bytes->begin(), length, result);
    result[length] = '\0';
  });
}

int GetList(Connection& connection, const Path& path, confd_value_t** elements, int* count) {
  return TakeValue(connection, path, [elements, count](const confd_value_t& value) {
    if (value.type != C_LIST) {
      ThrowBadType("leaf-list");
    }
    confd_value_t copy;
    CopyValue(value, copy);
    *elements = CONFD_GET_LIST(&copy);
    *count = static_cast<int>(CONFD_GET_LISTSIZE(&copy));
  });
}

}  // namespace
}  // namespace confd

extern "C" {

int cdb_num_instances(int sock, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(sock, fmt, arguments,
                       [&](confd::Connection& connection, const confd::Path& path) {
                         return confd::CountEntries(connection, path);
                       });
}

int cdb_exists(int sock, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(sock, fmt, arguments,
                       [&](confd::Connection& connection, const confd::Path& path) {
                         return confd::Exists(connection, path) ? 1 : 0;
                       });
}

int cdb_get(int sock, confd_value_t* v, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(
      sock, fmt, arguments,
      [&](confd::Connection& connection, const confd::Path& path) {
        return confd::Get(connection, path, v);
      },
      v);
}

int cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(
      sock, fmt, arguments,
      [&](confd::Connection& connection, const confd::Path& path) {
        return confd::GetInt32(connection, path, rval);
      },
      rval);
}

int cdb_get_enum_value(int sock, int32_t* rval, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(
      sock, fmt, arguments,
      [&](confd::Connection& connection, const confd::Path& path) {
        return confd::GetEnumValue(connection, path, rval);
      },
      rval);
}

int cdb_get_str(int sock, char* rval, int n, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(
      sock, fmt, arguments,
      [&](confd::Connection& connection, const confd::Path& path) {
        return confd::GetString(connection, path, rval, n);
      },
      rval);
}

int cdb_get_list(int sock, confd_value_t** values, int* n, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::AtPath(
      sock, fmt, arguments,
      [&](confd::Connection& connection, const confd::Path& path) {
        return confd::GetList(connection, path, values, n);
      },
      values, n);
}

}  // extern "C"
