// How code names a step at which a test may break the process (fail_points.h).
// In builds without CFM_FAIL_POINTS nothing of it is left.
//
//   CFM_FAIL_POINT(name);
//   const ssize_t count = CFM_FAIL_POINT_TRANSFER(name, size, transfer);
//
// `transfer` is called with the number of bytes to transfer, and returns what
// send(2) and its like do.
#ifndef FAILPOINT_FAIL_POINT_H
#define FAILPOINT_FAIL_POINT_H

#ifdef CFM_FAIL_POINTS

#include <sys/types.h>

#include <cerrno>
#include <cstddef>

#include "fail_points.h"

namespace failpoint {

// `error` is the errno that the transfer has to fail with; 0: it goes on.
struct Fault {
  int error = 0;
  bool is_short = false;
};

// The process passes the point.
Fault Pass(Point point) noexcept;

template <typename Call>
ssize_t Transfer(Point point, std::size_t size, Call call) {
  const Fault fault = Pass(point);
  if (fault.error != 0) {
    errno = fault.error;
    return -1;
  }
  return call(fault.is_short && size > 1 ? size / 2 : size);
}

}  // namespace failpoint

#define CFM_FAIL_POINT(name) static_cast<void>(::failpoint::Pass(::failpoint::Point::name))
#define CFM_FAIL_POINT_TRANSFER(name, size, transfer) \
  ::failpoint::Transfer(::failpoint::Point::name, size, transfer)

#else

#define CFM_FAIL_POINT(name)
#define CFM_FAIL_POINT_TRANSFER(name, size, transfer) transfer(size)

#endif

#endif
