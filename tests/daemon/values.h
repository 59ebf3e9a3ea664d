// ConfD values and keypaths for tests.
#ifndef CFM_TESTS_DAEMON_VALUES_H
#define CFM_TESTS_DAEMON_VALUES_H

#include <confd_dp.h>
#include <confd_lib.h>

#include <initializer_list>

#include "cfm/model_tags.h"

namespace test {

inline confd_value_t Int32(int number) {
  confd_value_t value{};
  CONFD_SET_INT32(&value, number);
  return value;
}

inline confd_value_t Int64(long long number) {
  confd_value_t value{};
  CONFD_SET_INT64(&value, number);
  return value;
}

inline confd_value_t Enum(int number) {
  confd_value_t value{};
  CONFD_SET_ENUM_VALUE(&value, number);
  return value;
}

// `text` is a string literal.
template <unsigned N>
confd_value_t Buf(const char (&text)[N]) {
  confd_value_t value{};
  CONFD_SET_BUF(&value, reinterpret_cast<unsigned char*>(const_cast<char*>(text)), N - 1);
  return value;
}

inline confd_value_t Tag(cfm::tag::Tag tag) {
  confd_value_t value{};
  CONFD_SET_XMLTAG(&value, tag, cfm::tag::kNamespace);
  return value;
}

// Elements from the leaf outward, as the daemon gets them; the other slots are
// C_NOEXISTS.
inline confd_hkeypath_t Keypath(std::initializer_list<confd_value_t> elements) {
  confd_hkeypath_t path{};
  for (auto& element : path.v) {
    for (auto& slot : element) {
      CONFD_SET_NOEXISTS(&slot);
    }
  }
  for (const confd_value_t& element : elements) {
    path.v[path.len++][0] = element;
  }
  return path;
}

// A transaction that the fakes know by its number.
inline confd_trans_ctx Transaction(int number) {
  confd_trans_ctx transaction{};
  transaction.thandle = number;
  return transaction;
}

}  // namespace test

#endif
