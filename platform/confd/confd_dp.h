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

/* A data provider; the rest of it is the library's. */
struct confd_daemon_ctx {
  void* d_opaque; /* the program's own */
};

/* A read transaction of the agent's. One whose reply is delayed stays until
 * it has been answered or the daemon context is released, and is for that
 * reply alone: meanwhile other reads of the transaction come with a context of
 * their own, a copy with the same thandle and t_opaque. */
struct confd_trans_ctx {
  int fd;                      /* worker socket that serves it */
  int thandle;                 /* the agent's number of the transaction */
  struct confd_daemon_ctx* dx; /* owner */
  void* t_opaque;              /* the program's own */
  void* cb_opaque;             /* that of the data callbacks being called */
};

/* Who asks for an action. */
struct confd_user_info {
  int af;
  int usid; /* session of the user */
  char username[256];
  int actionfd; /* worker socket that serves the action */
  struct confd_daemon_ctx* dx;
  void* u_opaque;
  void* cb_opaque; /* that of the action callbacks being called */
};

/* Qualified name of an argument, as command completion hands it over. */
typedef struct confd_qname {
  confd_buf_t prefix;
  confd_buf_t name;
} confd_qname_t;

enum confd_find_next_type { CONFD_FIND_NEXT = 0, CONFD_FIND_SAME_OR_NEXT = 1 };

/* Callbacks. Each returns CONFD_OK, CONFD_ERR, or where it says so
 * CONFD_DELAYED_RESPONSE; arguments are valid during the call only, but for
 * the transaction. */
struct confd_trans_cbs {
  /* Has to name the worker socket with confd_trans_set_fd. */
  int (*init)(struct confd_trans_ctx* tctx);
  int (*finish)(struct confd_trans_ctx* tctx);
};

#define MAX_CALLPOINT_LEN 255

struct confd_data_cbs {
  char callpoint[MAX_CALLPOINT_LEN];
  /* Answer with confd_data_reply_*; may be delayed. */
  int (*get_elem)(struct confd_trans_ctx* tctx, confd_hkeypath_t* kp);
  int (*get_next)(struct confd_trans_ctx* tctx, confd_hkeypath_t* kp, long next);
  void* cb_opaque; /* the program's own; comes back in the transaction */
};

struct confd_action_cbs {
  char actionpoint[MAX_CALLPOINT_LEN];
  /* Has to name the worker socket with confd_action_set_fd. */
  int (*init)(struct confd_user_info* uinfo);
  int (*action)(struct confd_user_info* uinfo, struct xml_tag* name, confd_hkeypath_t* kp,
                confd_tag_value_t* params, int nparams);
  void* cb_opaque; /* comes back in the user information */
};

enum confd_sock_type { CONTROL_SOCKET = 2, WORKER_SOCKET = 3 };

/* A data provider. Null when memory is short. */
struct confd_daemon_ctx* confd_init_daemon(const char* name);
/* Frees the context and every transaction; sockets stay the caller's. */
void confd_release_daemon(struct confd_daemon_ctx* dx);
/* The control socket first, then one worker socket. */
int confd_connect(struct confd_daemon_ctx* dx, int sock, enum confd_sock_type type,
                  const struct sockaddr* srv, int srv_sz);
int confd_register_trans_cb(struct confd_daemon_ctx* dx, const struct confd_trans_cbs* trans);
int confd_register_data_cb(struct confd_daemon_ctx* dx, const struct confd_data_cbs* data);
int confd_register_action_cbs(struct confd_daemon_ctx* dx, const struct confd_action_cbs* acb);
/* From now on the agent asks. */
int confd_register_done(struct confd_daemon_ctx* dx);

/* Works what is to be read on a readable control or worker socket. CONFD_OK;
 * CONFD_ERR when a callback failed; CONFD_EOF when the agent is gone. */
int confd_fd_ready(struct confd_daemon_ctx* dx, int fd);

void confd_trans_set_fd(struct confd_trans_ctx* tctx, int sock);
void confd_action_set_fd(struct confd_user_info* uinfo, int sock);

/* Answers a read of a leaf, inside the callback or, after it returned
 * CONFD_DELAYED_RESPONSE, later. The value stays the caller's. CONFD_OK or
 * CONFD_ERR: the agent has given the read up, or the transaction is over. */
int confd_data_reply_value(struct confd_trans_ctx* tctx, const confd_value_t* v);
/* The leaf has no value. */
int confd_data_reply_not_found(struct confd_trans_ctx* tctx);
/* Answers one step of the traversal of a list: the entry's keys, and the
 * cursor of the next step. At the end there are no keys, the number of them
 * is -1 and so is the cursor. */
int confd_data_reply_next_key(struct confd_trans_ctx* tctx, const confd_value_t* v,
                              int num_vals_in_key, long next);
/* Why the callback is about to return CONFD_ERR. */
void confd_trans_seterr(struct confd_trans_ctx* tctx, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));

#ifdef __cplusplus
}
#endif

#endif
