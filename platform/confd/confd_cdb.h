/* The CDB part of the ConfD C API: sessions on a datastore, and subscriptions
 * to committed changes. See confd_lib.h for what the subset promises.
 *
 * Paths are printf-like formats that are parsed, never printed and parsed
 * again: literal nodes, keys in braces, positions in brackets, and the verbs
 * %d, %u, %s and %x, which takes a const confd_value_t*. Whatever a key holds
 * stays inside its braces.
 */
#ifndef CONFD_CDB_H
#define CONFD_CDB_H

#include <confd_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

enum cdb_sock_type { CDB_READ_SOCKET = 0, CDB_DATA_SOCKET = 0, CDB_SUBSCRIPTION_SOCKET = 1 };

enum cdb_db_type {
  CDB_RUNNING = 1, /* the committed configuration */
  CDB_OPERATIONAL = 3
};

/* Flags of cdb_start_session2. */
#define CDB_LOCK_WAIT (1 << 0)    /* wait until the lock is free */
#define CDB_LOCK_SESSION (1 << 1) /* no commit while the session lasts */

/* Connects a socket that the caller created (AF_UNIX or AF_INET) to the
 * agent. The socket stays the caller's until cdb_close. CONFD_OK or
 * CONFD_ERR. */
int cdb_connect(int sock, enum cdb_sock_type type, const struct sockaddr* srv, int srv_sz);
/* The same under a name of its own, shown to operators. */
int cdb_connect_name(int sock, enum cdb_sock_type type, const struct sockaddr* srv, int srv_sz,
                     const char* name);
/* Ends what is open on the socket and closes it. */
int cdb_close(int sock);

/* Opens a session. All reads of a session on CDB_RUNNING see one state of
 * the configuration, that of the session's start. CONFD_ERR_LOCKED: the lock
 * was asked for without CDB_LOCK_WAIT and is taken. */
int cdb_start_session(int sock, enum cdb_db_type db);
int cdb_start_session2(int sock, enum cdb_db_type db, int flags);
int cdb_end_session(int sock);

/* Number of the last commit. */
struct cdb_txid {
  uint32_t s1;
  uint32_t s2;
  uint32_t s3;
};
int cdb_get_txid(int sock, struct cdb_txid* txid);

/* Number of entries of a list; CONFD_ERR for a path that the model does not
 * have or whose parent entry does not exist. */
int cdb_num_instances(int sock, const char* fmt, ...);
/* 1 or 0; a default counts as existing. */
int cdb_exists(int sock, const char* fmt, ...);
/* Value of a leaf, its default included; CONFD_ERR_NOEXISTS when it has
 * none. Free a C_BUF with confd_free_value. */
int cdb_get(int sock, confd_value_t* v, const char* fmt, ...);
int cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...);
int cdb_get_enum_value(int sock, int32_t* rval, const char* fmt, ...);
/* Text of a string leaf, cut to `n` bytes with the NUL. */
int cdb_get_str(int sock, char* rval, int n, const char* fmt, ...);
/* All elements of a leaf-list. Free each with confd_free_value and the array
 * with free. A leaf-list without elements is CONFD_ERR_NOEXISTS. */
int cdb_get_list(int sock, confd_value_t** values, int* n, const char* fmt, ...);

/* Operational data, in a session on CDB_OPERATIONAL. Each call's result is its
 * own, CONFD_OK or CONFD_ERR. */

/* Creates a list entry; CONFD_ERR_ALREADY_EXISTS when it is there. */
int cdb_create(int sock, const char* fmt, ...);
/* Deletes a list entry and all below it; by position, the last one first. */
int cdb_delete(int sock, const char* fmt, ...);
/* Gives a leaf a value of the leaf's own type, a string as C_STR or C_BUF. */
int cdb_set_elem(int sock, confd_value_t* val, const char* fmt, ...);

/* Subscribes to changes below a path of the running configuration; the
 * number of the point comes back in `spoint`. Nothing is delivered before
 * cdb_subscribe_done. Lower priorities are served first. */
int cdb_subscribe(int sock, int prio, int nspace, int* spoint, const char* fmt, ...);
int cdb_subscribe_done(int sock);

/* Most points that one notification names. */
#define CDB_MAX_SUBSCRIPTION_POINTS 1024

enum cdb_subscription_sync_type { CDB_DONE_PRIORITY = 1 };

/* Takes the notification that made the socket readable: the points that a
 * commit touched. `sub_points` has room for CDB_MAX_SUBSCRIPTION_POINTS.
 * CONFD_EOF when the agent is gone. */
int cdb_read_subscription_socket(int sock, int sub_points[], int* resultlen);

enum confd_iter_op { MOP_CREATED = 1, MOP_DELETED = 2, MOP_MODIFIED = 3, MOP_VALUE_SET = 4 };

enum confd_iter_ret {
  ITER_STOP = 1,     /* end the walk */
  ITER_RECURSE = 2,  /* go on with the children */
  ITER_CONTINUE = 3, /* skip the children, go on with the next sibling */
  ITER_UP = 5        /* skip the children and the siblings */
};

/* Flag of cdb_diff_iterate: hand over old values as well. */
#define ITER_WANT_PREV (1 << 0)

/* Walks the changes below a point, parents before children. Keypath and
 * values are valid during the call only; a value that there is not is null. */
int cdb_diff_iterate(int sock, int subid,
                     enum confd_iter_ret (*iter)(confd_hkeypath_t* kp, enum confd_iter_op op,
                                                 confd_value_t* oldv, confd_value_t* newv,
                                                 void* state),
                     int flags, void* initstate);

/* Tells the agent that the notification has been dealt with. */
int cdb_sync_subscription_socket(int sock, enum cdb_subscription_sync_type st);

#ifdef __cplusplus
}
#endif

#endif
