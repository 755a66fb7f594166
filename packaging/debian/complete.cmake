# Run by cpack when the files of all components are where packages are made of them, each component
# in a folder of its own. Adds what every Debian package has, and takes out what none has.
find_program(GZIP gzip REQUIRED)
find_program(INSTALL install REQUIRED)
find_program(STRIP strip REQUIRED)

# Without name and time of the file in it: the same text is always the same file.
function(compress file)
  execute_process(COMMAND "${GZIP}" -n9 "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(add_file file to)
  execute_process(COMMAND "${INSTALL}" -D -m 644 "${file}" "${to}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}")

  set(doc "${root}/share/doc/${package}")
  add_file("${CPACK_SYSCONFREADER_DEBIAN_DIR}/copyright" "${doc}/copyright")
  add_file("${CPACK_SYSCONFREADER_DEBIAN_DIR}/changelog" "${doc}/changelog.Debian")
  compress("${doc}/changelog.Debian")
  add_file("${CPACK_SYSCONFREADER_SOURCE_DIR}/CHANGELOG.md" "${doc}/changelog")
  compress("${doc}/changelog")

  set(overrides "${CPACK_SYSCONFREADER_DEBIAN_DIR}/${package}.lintian-overrides")
  if(EXISTS "${overrides}")
    add_file("${overrides}" "${root}/share/lintian/overrides/${package}")
  endif()

  file(GLOB pages "${root}/share/man/man*/*.[1-9]")
  foreach(page IN LISTS pages)
    compress("${page}")
  endforeach()

  # The libraries are where the loader looks by itself, and nowhere else should it. Symbols and
  # notes that only debuggers use stay behind.
  file(
    GLOB_RECURSE files
    LIST_DIRECTORIES OFF
    "${root}/bin/*" "${root}/lib/*.so")
  foreach(file IN LISTS files)
    file(RPATH_REMOVE FILE "${file}")
    execute_process(COMMAND "${STRIP}" --strip-unneeded --remove-section=.comment
                            --remove-section=.note "${file}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endforeach()
