// In the place of the log call: a fuzzer makes the agent log much, and none of
// it is of interest.
#include <zlog.h>

int zlog_init(const char* /*config*/) {
  return 0;
}
void zlog_fini() {}
zlog_category_t* zlog_get_category(const char* /*name*/) {
  return nullptr;
}
void zlog(zlog_category_t* /*category*/, const char* /*file*/, size_t /*filelen*/,
          const char* /*func*/, size_t /*funclen*/, long /*line*/, int /*level*/,
          const char* /*format*/, ...) {}
