# Fails when PROGRAM does not export one of the callouts that the element's
# tools look up by name.
execute_process(COMMAND ${NM} -D --defined-only ${PROGRAM}
  OUTPUT_VARIABLE exported RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} cannot read ${PROGRAM}")
endif()
foreach(callout
    ElemWebCfgGetCategories
    ElemWebCfgGetNumCategories
    ElemLogCfgGetHandle
    ElemLogCfgGetBaseClass
    ElemLogCfgCalloutGetClassName)
  if(NOT exported MATCHES " T ${callout}\n")
    message(FATAL_ERROR "${PROGRAM} does not export ${callout}")
  endif()
endforeach()
