# Fails unless the bundle's dynamic symbol table defines exactly the six entry points.
execute_process(COMMAND ${NM} -D --defined-only --format=posix ${BUNDLE}
  OUTPUT_VARIABLE symbols RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "nm could not read ${BUNDLE}")
endif()
string(REGEX MATCHALL "(^|\n)[^ \n]+" names "${symbols}")
list(TRANSFORM names STRIP)
list(SORT names)
set(expected DllCanUnloadNow DllGetClassForm DllGetClassInfo DllGetClassObject DllGetInterface
  ppcSetFileRef)
if(NOT names STREQUAL expected)
  message(FATAL_ERROR "Tonvik.xtra exports [${names}], expected [${expected}]")
endif()
