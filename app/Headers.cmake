# cfm_daemon_headers(target)
#
# Gives a part of the daemon the headers it is written against, and nothing to
# link: which platform libraries stand behind them is the program's choice.
function(cfm_daemon_headers target)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PUBLIC cfm_include)
  foreach(library confd velmidware zlog elem)
    target_include_directories(${target} SYSTEM PUBLIC
      $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
endfunction()
