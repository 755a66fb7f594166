# Fails unless LIBRARY exports something, and nothing but members of CLASSES (alternatives).
execute_process(COMMAND "${NM}" --dynamic --defined-only --demangle "${LIBRARY}"
                OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "\n$" "" output "${output}")
string(REPLACE "\n" ";" symbols "${output}")
if(NOT symbols)
  message(FATAL_ERROR "${LIBRARY} exports nothing")
endif()
foreach(symbol IN LISTS symbols)
  if(NOT symbol MATCHES "^[0-9a-f]+ [A-Z] (${CLASSES})::")
    message(SEND_ERROR "${LIBRARY} exports ${symbol}")
  endif()
endforeach()
