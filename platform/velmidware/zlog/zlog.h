/* The call of the zlog library that the programs use, for machines where the
 * library itself is not installed. Records go to the journal when there is
 * one and to the standard error stream otherwise. */
#ifndef ZLOG_H
#define ZLOG_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct zlog_category_s zlog_category_t;

/* `config` is not used here; may be null. 0 on success. */
int zlog_init(const char* config);
void zlog_fini(void);

/* The category of that name, one per name; null when memory is short. It
 * lives until zlog_fini. */
zlog_category_t* zlog_get_category(const char* name);

/* One record. Both lengths exclude the terminating NUL. Levels: 10
 * informational, 11 tolerated failure, 12 error. */
void zlog(zlog_category_t* category, const char* file, size_t filelen, const char* func,
          size_t funclen, long line, int level, const char* format, ...)
    __attribute__((format(printf, 8, 9)));

#ifdef __cplusplus
}
#endif

#endif
