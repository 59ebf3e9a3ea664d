# Warnings for the whole project. Generated code and public headers come in as
# system headers and are left alone.
add_compile_options(
  -Wall
  -Wextra
  -Wpedantic
  -Wshadow
  -Wundef
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
if(CFM_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

# Source files appear in log records and assertions by their place in the
# repository, also where ccache with a base directory has made their paths
# relative to the build.
file(RELATIVE_PATH CFM_TO_SOURCE "${CMAKE_BINARY_DIR}" "${CMAKE_SOURCE_DIR}")
string(REGEX REPLACE "/$" "" CFM_TO_SOURCE "${CFM_TO_SOURCE}")
add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=
                    -fmacro-prefix-map=${CFM_TO_SOURCE}/=)
