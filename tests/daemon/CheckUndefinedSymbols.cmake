# Fails when LIBRARY needs a symbol that it does not define itself and that is
# neither the platform's nor the language's run time.
cmake_minimum_required(VERSION 3.25)

set(allowed
  # ConfD C API, handler framework, middleware, log.
  "^cdb_" "^confd_" "^velconfd::" "^(vtable|typeinfo) for velconfd::" "^velmw_" "^zlog$"
  "^VelConfdCdbSessionBase::" "^(vtable|typeinfo) for VelConfdCdbSessionBase$"
  # The element's services, and the CFM manager client.
  "^limid_from_intfname$" "^Elem(Log|Web)Cfg" "^cfm::Client::" "^(vtable|typeinfo) for cfm::Client$"
  # C++ run time.
  "^std::" "^(vtable|typeinfo) for (std|__cxxabiv1)::" "^operator (new|delete)"
  "^__cxa_" "^__gxx_personality_v0$" "^_Unwind_Resume$" "^__dso_handle$"
  # C library.
  "^__assert_fail$" "^__stack_chk_fail$" "^_GLOBAL_OFFSET_TABLE_$" "^(__)?v?snprintf(_chk)?$"
  "^exit$" "^free$" "^sysinfo$" "^mem(chr|cmp|cpy|move|set)$" "^bcmp$" "^strlen$"
  # Instrumentation of test builds.
  "^__(asan|gcov|llvm_profile|lsan|sancov|sanitizer|tsan|ubsan)_")

# Names of the symbols that nm tells of, demangled.
function(symbols result)
  execute_process(COMMAND ${NM} --demangle --format=posix ${ARGN} ${LIBRARY}
    OUTPUT_VARIABLE output RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${NM} cannot read ${LIBRARY}")
  endif()
  string(REPLACE "\n" ";" lines "${output}")
  set(names "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^(.+) [A-Za-z] [0-9a-f ]*$")
      list(APPEND names "${CMAKE_MATCH_1}")
    endif()
  endforeach()
  set(${result} "${names}" PARENT_SCOPE)
endfunction()

symbols(undefined --undefined-only)
symbols(defined --defined-only)
if(NOT "zlog" IN_LIST undefined)
  message(FATAL_ERROR "${LIBRARY} does not even need zlog: its symbols were not read")
endif()
list(REMOVE_ITEM undefined ${defined})
list(REMOVE_DUPLICATES undefined)

set(strangers "")
foreach(symbol IN LISTS undefined)
  set(known FALSE)
  foreach(pattern IN LISTS allowed)
    if(symbol MATCHES "${pattern}")
      set(known TRUE)
      break()
    endif()
  endforeach()
  if(NOT known)
    list(APPEND strangers ${symbol})
  endif()
endforeach()
if(strangers)
  list(JOIN strangers "\n  " text)
  message(FATAL_ERROR "${LIBRARY} needs what no platform library brings:\n  ${text}")
endif()
