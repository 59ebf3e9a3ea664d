#include "c_program.h"

#include <confd_cdb.h>
#include <confd_dp.h>
#include <confd_lib.h>

const char* PrintKeypathFromC(void) {
  static char text[64];
  static confd_hkeypath_t path;
  path.len = 2;
  CONFD_SET_INT64(&path.v[0][0], -7);
  CONFD_SET_NOEXISTS(&path.v[0][1]);
  CONFD_SET_XMLTAG(&path.v[1][0], 12u, 0u);
  confd_pp_kpath(text, sizeof(text), &path);
  return text;
}
