/* The data provider part of the ConfD C API: what the agent hands to programs
 * that answer reads and perform actions. See confd_lib.h for what the subset
 * promises.
 */
#ifndef CONFD_DP_H
#define CONFD_DP_H

#include <confd_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A read transaction of the agent's. */
struct confd_trans_ctx {
  int fd;         /* worker socket that serves it */
  int thandle;    /* the agent's number of the transaction */
  void* t_opaque; /* the program's own */
};

/* Who asks for an action. */
struct confd_user_info {
  int af;
  int usid; /* session of the user */
  char username[256];
  int actionfd; /* worker socket that serves the action */
  void* u_opaque;
};

/* Qualified name of an argument, as command completion hands it over. */
typedef struct confd_qname {
  confd_buf_t prefix;
  confd_buf_t name;
} confd_qname_t;

enum confd_find_next_type { CONFD_FIND_NEXT = 0, CONFD_FIND_SAME_OR_NEXT = 1 };

#ifdef __cplusplus
}
#endif

#endif
