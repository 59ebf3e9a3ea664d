/* The part of the ConfD C API that every program on it shares: values,
 * keypaths, errors, schema names.
 *
 * Names, types, enumerators and signatures are those of the public API, so a
 * program written for it compiles and links here unchanged as far as this
 * subset goes. What the library does not do is not declared.
 */
#ifndef CONFD_LIB_H
#define CONFD_LIB_H

#include <netinet/in.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/socket.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Results of the calls of this API. */
#define CONFD_OK 0
#define CONFD_ERR (-1)
#define CONFD_EOF (-2)
#define CONFD_DELAYED_RESPONSE 2

/* Values of confd_errno. */
#define CONFD_ERR_NOEXISTS 1
#define CONFD_ERR_ALREADY_EXISTS 2
#define CONFD_ERR_ACCESS_DENIED 3
#define CONFD_ERR_NOT_WRITABLE 4
#define CONFD_ERR_BADTYPE 5
#define CONFD_ERR_NOTCREATABLE 6
#define CONFD_ERR_NOTDELETABLE 7
#define CONFD_ERR_BADPATH 8
#define CONFD_ERR_LOCKED 10
#define CONFD_ERR_INUSE 11
#define CONFD_ERR_BADSTATE 17
#define CONFD_ERR_INTERNAL 18
#define CONFD_ERR_EXTERNAL 19
#define CONFD_ERR_MALLOC 20
#define CONFD_ERR_PROTOUSAGE 21
#define CONFD_ERR_NOSESSION 22
#define CONFD_ERR_OS 24

/* Most elements of a keypath, and most keys of one list. */
#define MAXDEPTH 40
#define MAXKEYLEN 9

enum confd_vtype {
  C_NOEXISTS = 1, /* end marker; a value that is not there */
  C_XMLTAG = 2,   /* node of the model; an existing empty leaf */
  C_SYMBOL = 3,   /* not used */
  C_STR = 4,      /* NUL-terminated string, given by the caller */
  C_BUF = 5,      /* string with a length; a NUL follows the last byte */
  C_INT8 = 6,
  C_INT16 = 7,
  C_INT32 = 8,
  C_INT64 = 9,
  C_UINT8 = 10,
  C_UINT16 = 11,
  C_UINT32 = 12,
  C_UINT64 = 13,
  C_BOOL = 17,
  C_ENUM_VALUE = 28, /* the integer value of the enumeration */
  C_LIST = 31        /* all elements of a leaf-list */
};

struct xml_tag {
  uint32_t tag; /* hash of the node's name */
  uint32_t ns;  /* hash of the model's namespace */
};

typedef struct confd_buf {
  unsigned int size;
  unsigned char* ptr;
} confd_buf_t;

typedef struct confd_list {
  unsigned int size;
  struct confd_value* ptr;
} confd_list_t;

typedef struct confd_value {
  enum confd_vtype type;
  union {
    struct xml_tag xmltag;
    uint32_t symbol;
    confd_buf_t buf;
    const char* c_s; /* C_STR of the caller's, never freed */
    char* s;
    int8_t i8;
    int16_t i16;
    int32_t i32;
    int64_t i64;
    uint8_t u8;
    uint16_t u16;
    uint32_t u32;
    uint64_t u64;
    int boolean;
    int32_t enumvalue;
    struct confd_list list;
  } val;
} confd_value_t;

/* A node with its value, as action parameters carry it. */
typedef struct confd_tag_value {
  struct xml_tag tag;
  confd_value_t v;
} confd_tag_value_t;

/* Path of a node, deepest element first. A model node is one C_XMLTAG in
 * v[i][0]; the keys of a list entry stand in v[i][0], v[i][1], ... in front
 * of the tag of their list. Slots that are not used are C_NOEXISTS. */
typedef struct confd_hkeypath {
  int len;
  confd_value_t v[MAXDEPTH][MAXKEYLEN];
} confd_hkeypath_t;

/* Plain access to the contents; the caller knows the type. */
#define CONFD_GET_XMLTAG(v_) ((v_)->val.xmltag.tag)
#define CONFD_GET_XMLTAG_NS(v_) ((v_)->val.xmltag.ns)
#define CONFD_GET_BUFPTR(v_) ((v_)->val.buf.ptr)
#define CONFD_GET_CBUFPTR(v_) ((const char*)(v_)->val.buf.ptr)
#define CONFD_GET_BUFSIZE(v_) ((v_)->val.buf.size)
#define CONFD_GET_INT8(v_) ((v_)->val.i8)
#define CONFD_GET_INT16(v_) ((v_)->val.i16)
#define CONFD_GET_INT32(v_) ((v_)->val.i32)
#define CONFD_GET_INT64(v_) ((v_)->val.i64)
#define CONFD_GET_UINT8(v_) ((v_)->val.u8)
#define CONFD_GET_UINT16(v_) ((v_)->val.u16)
#define CONFD_GET_UINT32(v_) ((v_)->val.u32)
#define CONFD_GET_UINT64(v_) ((v_)->val.u64)
#define CONFD_GET_BOOL(v_) ((v_)->val.boolean)
#define CONFD_GET_ENUM_VALUE(v_) ((v_)->val.enumvalue)
#define CONFD_GET_LIST(v_) ((v_)->val.list.ptr)
#define CONFD_GET_LISTSIZE(v_) ((v_)->val.list.size)

#define CONFD_SET_NOEXISTS(v_) ((v_)->type = C_NOEXISTS)
#define CONFD_SET_XMLTAG(v_, tag_, ns_) \
  ((v_)->type = C_XMLTAG, (v_)->val.xmltag.tag = (tag_), (v_)->val.xmltag.ns = (ns_))
#define CONFD_SET_STR(v_, s_) ((v_)->type = C_STR, (v_)->val.c_s = (s_))
#define CONFD_SET_BUF(v_, ptr_, size_) \
  ((v_)->type = C_BUF, (v_)->val.buf.ptr = (ptr_), (v_)->val.buf.size = (size_))
#define CONFD_SET_INT8(v_, n_) ((v_)->type = C_INT8, (v_)->val.i8 = (n_))
#define CONFD_SET_INT16(v_, n_) ((v_)->type = C_INT16, (v_)->val.i16 = (n_))
#define CONFD_SET_INT32(v_, n_) ((v_)->type = C_INT32, (v_)->val.i32 = (n_))
#define CONFD_SET_INT64(v_, n_) ((v_)->type = C_INT64, (v_)->val.i64 = (n_))
#define CONFD_SET_UINT8(v_, n_) ((v_)->type = C_UINT8, (v_)->val.u8 = (n_))
#define CONFD_SET_UINT16(v_, n_) ((v_)->type = C_UINT16, (v_)->val.u16 = (n_))
#define CONFD_SET_UINT32(v_, n_) ((v_)->type = C_UINT32, (v_)->val.u32 = (n_))
#define CONFD_SET_UINT64(v_, n_) ((v_)->type = C_UINT64, (v_)->val.u64 = (n_))
#define CONFD_SET_BOOL(v_, n_) ((v_)->type = C_BOOL, (v_)->val.boolean = (n_))
#define CONFD_SET_ENUM_VALUE(v_, n_) ((v_)->type = C_ENUM_VALUE, (v_)->val.enumvalue = (n_))

/* How much the library says on its own stream. */
enum confd_debug_level { CONFD_SILENT = 0, CONFD_DEBUG = 1, CONFD_TRACE = 2 };

/* Initialises the library under the program's name. `estream` may be null:
 * then the library is silent. */
void confd_init(const char* name, FILE* estream, const enum confd_debug_level debug);

/* Code and text of the last failure; they stay until the next one. */
extern int confd_errno;
const char* confd_lasterr(void);
/* Text of a confd_errno code. Never null. */
const char* confd_strerror(int code);

/* Learns the names of the agent's models, so that confd_pp_kpath can print
 * them. CONFD_OK or CONFD_ERR. */
int confd_load_schemas(const struct sockaddr* srv, int srv_sz);
/* Name of a tag, and tag of a name; null and 0 when no loaded model has it. */
char* confd_hash2str(uint32_t hash);
uint32_t confd_str2hash(const char* str);

/* Prints like snprintf: at most `bufsiz` bytes with the NUL, and the length
 * that the whole text has is returned. A path reads
 * /config/oam/cfm/md{east}/ma{blue}/mep{5}/interface; a tag that no loaded
 * model has prints as its number in brackets. */
int confd_pp_kpath(char* buf, int bufsiz, const confd_hkeypath_t* hkeypath);
int confd_pp_value(char* buf, int bufsiz, const confd_value_t* v);

/* Frees what a value that a call returned owns; the value becomes
 * C_NOEXISTS. Values of other types own nothing. */
void confd_free_value(confd_value_t* v);
/* A value of the same type and contents that owns its memory; null when
 * memory is short. Free with confd_free_dup_value. */
confd_value_t* confd_value_dup(const confd_value_t* v);
void confd_free_dup_value(confd_value_t* v);
/* Non-zero when both have the same type and contents. */
int confd_val_eq(const confd_value_t* v1, const confd_value_t* v2);

#ifdef __cplusplus
}
#endif

#endif
