/* The middleware (library libvelmidware) as programs use it: life of the
 * process, main loop, trace category, faults. */
#ifndef VELMIDWARE_H
#define VELMIDWARE_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct velmw_handle velmw_t;
struct zlog_category_s;

/* Prepares the process: event loop, SIGTERM and SIGINT, the lock that keeps a
 * second instance away. `application_name` names the process to operators.
 * Ends the process with exit status 1, with a line that says why, when it
 * cannot run. */
velmw_t* velmw_init(const char* application_name);
/* The log category of that name; it lives until the process ends. */
struct zlog_category_s* velmw_trace_init(velmw_t* handle, const char* name);
/* Dispatches events until *run is false, the process is asked to end (both
 * 0), or the loop fails or was ended with an error (1). */
int velmw_loop_while(velmw_t* handle, bool* run);
/* Frees the handle and sets it to null. */
void velmw_finish(velmw_t** handle);

/* Reports a fault: severity 0 is non-fatal, 1 is fatal. It is for the caller
 * to end the process. */
void velmw_gen_fault(int severity, const char* function, const char* file, int line,
                     const char* message);
/* Writes the current call stack. */
void velmw_print_backtrace(void);

#ifdef __cplusplus
}
#endif

#endif
