# cmake -DDOXYGEN=... -DDOT=... -DVERSION=... -DSOURCE=... -DOUTPUT=... -P reference.cmake: makes the
# reference from the public headers, as HTML in OUTPUT/html and as section 3 manual pages in
# OUTPUT/man3. Any warning of Doxygen is an error.

set(SYSCONFREADER_VERSION "${VERSION}")
set(SYSCONFREADER_SOURCE "${SOURCE}")
set(SYSCONFREADER_OUTPUT "${OUTPUT}")
set(SYSCONFREADER_HAVE_DOT NO)
if(DOT)
  set(SYSCONFREADER_HAVE_DOT YES)
endif()

file(REMOVE_RECURSE "${OUTPUT}/html" "${OUTPUT}/raw-man" "${OUTPUT}/man3")
file(MAKE_DIRECTORY "${OUTPUT}/man3")
configure_file("${CMAKE_CURRENT_LIST_DIR}/Doxyfile.in" "${OUTPUT}/Doxyfile" @ONLY)
execute_process(COMMAND "${DOXYGEN}" "${OUTPUT}/Doxyfile" RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "Doxygen reports mistakes in the public headers")
endif()

# manual_page(NAME RAW): RAW as the page NAME(3), without lines that begin with a quotation mark, which troff
# drops, and without a font that not every reader of manual pages has.
function(manual_page name raw)
  set(path "${OUTPUT}/raw-man/man3/${raw}.3")
  if(NOT EXISTS "${path}")
    message(FATAL_ERROR "Doxygen made no manual page ${raw}")
  endif()
  file(READ "${path}" page)
  string(
    REGEX
    REPLACE "^\\.TH [^\n]*\n"
            ".TH ${name} 3 \"\" \"libsysconfreader ${VERSION}\" \"Library Functions\"\n" page
            "${page}")
  string(REGEX REPLACE "(\n\\.SH NAME\n)[^ ]*" "\\1${name}" page "${page}")
  string(REGEX REPLACE "[ \t]+\n" "\n" page "${page}")
  string(REGEX REPLACE "\n(')" "\n\\\\\\\\&\\1" page "${page}")
  string(REPLACE "\\fC" "\\fB" page "${page}")
  file(WRITE "${OUTPUT}/man3/${name}.3" "${page}")
endfunction()

foreach(class SysConfReader SysConfReaderImpl SysConfReaderStatus SysConfReader_i)
  manual_page(${class} Quarncommon_${class})
endforeach()
manual_page(SysConfReaderEvent SysConfReaderEvent.h)
manual_page(sysconfreader_c sysconfreader_c.h)
file(REMOVE_RECURSE "${OUTPUT}/raw-man")
