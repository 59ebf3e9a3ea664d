// The fake ConfD's values: how they come to be, and how they are shown.
#ifndef CFM_TESTS_DAEMON_FAKE_CONFD_VALUES_H
#define CFM_TESTS_DAEMON_FAKE_CONFD_VALUES_H

#include <confd_lib.h>

#include <string>

#include "daemon/fake_confd.h"

namespace fake {

void ResetValues();

// What a leaf reads as. Whoever gets it frees it by confd_free_value.
void Convert(const CdbValue& from, confd_value_t* to);
// The elements of a leaf-list as C_INT32, or as C_ENUM_VALUE; never null.
// Whoever gets them frees the array by free.
confd_value_t* NewList(const CdbValue& list, int* count);

// A value with its type.
std::string Shown(const confd_value_t& value);

}  // namespace fake

#endif
