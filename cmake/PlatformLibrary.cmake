# cfm_platform_library(name directory)
#
# Makes the target `name` from one of two places: the library that the element
# brings, when -DCFM_LIB<NAME>=<file> (and -DCFM_LIB<NAME>_INCLUDE_DIR=<dir> for
# its headers) says so, or the stand-in of this repository in `directory`.
function(cfm_platform_library name directory)
  string(TOUPPER ${name} upper)
  set(CFM_LIB${upper} "" CACHE FILEPATH "The element's own lib${name}; empty: this repository's")
  set(CFM_LIB${upper}_INCLUDE_DIR "" CACHE PATH "Headers of the element's own lib${name}")
  if(CFM_LIB${upper})
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${CFM_LIB${upper}})
    if(CFM_LIB${upper}_INCLUDE_DIR)
      target_include_directories(${name} SYSTEM INTERFACE ${CFM_LIB${upper}_INCLUDE_DIR})
    endif()
  else()
    add_subdirectory(${directory})
  endif()
endfunction()
