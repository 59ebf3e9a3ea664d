/* A part of the test that is C: the headers serve C programs as well. */
#ifndef TESTS_CONFD_C_PROGRAM_H
#define TESTS_CONFD_C_PROGRAM_H

#ifdef __cplusplus
extern "C" {
#endif

/* What confd_pp_kpath makes of a list entry in a keypath that C built. */
const char* PrintKeypathFromC(void);

#ifdef __cplusplus
}
#endif

#endif
