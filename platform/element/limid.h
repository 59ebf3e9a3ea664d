/* The logical interface id service of the element. */
#ifndef LIMID_H
#define LIMID_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Writes the logical interface id of the interface called `name` into
 * `limid` and returns 0; returns -1 and leaves `limid` alone when there is no
 * such interface. */
int limid_from_intfname(uint32_t* limid, const char* name);

#ifdef __cplusplus
}
#endif

#endif
