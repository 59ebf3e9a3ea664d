/* For tests and benchmarks of the library: what it does not promise to
 * programs. */
#ifndef CONFD_INTERNAL_H
#define CONFD_INTERNAL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How often the library has waited for an answer of the agent since the
 * process started. */
uint64_t confd_round_trips(void);

#ifdef __cplusplus
}
#endif

#endif
