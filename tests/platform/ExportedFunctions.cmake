# Fails unless LIBRARY exports exactly EXPECTED: "name kind,name kind".
execute_process(COMMAND "${NM}" --dynamic --defined-only --format=posix "${LIBRARY}"
                OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${output}")
set(found)
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^([^ ]+) ([A-Za-z]).*$" "\\1 \\2" symbol "${line}")
  list(APPEND found "${symbol}")
endforeach()
list(SORT found)
list(JOIN found "," found)
if(NOT found STREQUAL EXPECTED)
  message(FATAL_ERROR "${LIBRARY} exports ${found} and not ${EXPECTED}")
endif()
