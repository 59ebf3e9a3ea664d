// Tells the leak checker, where there is one, about memory that is kept on
// purpose.
#ifndef CFM_APP_LEAK_CHECKER_H
#define CFM_APP_LEAK_CHECKER_H

#if defined(__SANITIZE_ADDRESS__)  // g++
#define CFM_LEAK_CHECKER 1
#elif defined(__has_feature)  // clang++
#if __has_feature(address_sanitizer) || __has_feature(leak_sanitizer)
#define CFM_LEAK_CHECKER 1
#endif
#endif

#ifdef CFM_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

namespace cfm {

// `memory` was allocated and will never be freed.
inline void KeepOnPurpose([[maybe_unused]] const void* memory) {
#ifdef CFM_LEAK_CHECKER
  __lsan_ignore_object(memory);
#endif
}

}  // namespace cfm

#endif
