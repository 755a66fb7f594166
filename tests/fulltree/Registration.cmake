# Fails unless both full-tree labels have tests, and each of these loads the library from FOLDER.
# BUILD is the build folder.
foreach(label full-tree full-tree-sample)
  execute_process(COMMAND "${CTEST}" --test-dir "${BUILD}" --show-only=json-v1 --label-regex
                          "^${label}$" OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "\"name\" : \"FullTree\\." tests "${listed}")
  string(REGEX MATCHALL "SYSCONF_TEST_LIBRARY=[^\"]*" folders "${listed}")
  list(LENGTH tests number)
  list(LENGTH folders with_folder)
  list(REMOVE_DUPLICATES folders)
  if(NOT number EQUAL with_folder OR NOT folders STREQUAL "SYSCONF_TEST_LIBRARY=${FOLDER}")
    message(FATAL_ERROR "${label}: ${number} tests, ${with_folder} of them with ${folders}")
  endif()
endforeach()
