# Run by cpack on the packages that it has made. It has given each that has libraries scripts that
# call ldconfig, which the trigger does already; without scripts, a package can also be installed in a
# root of its own that has no shell, by whom it belongs to. And the libraries' packages get lists of
# symbols: with names without version, nothing else tells packages of others what to depend on.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(tree "${package}.tree")
  execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${tree}" COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE "${tree}/DEBIAN/postinst" "${tree}/DEBIAN/postrm")
  if(EXISTS "${tree}/DEBIAN/triggers")
    string(REGEX REPLACE "^.*/([^/_]*)_[^/]*$" "\\1" name "${package}")
    execute_process(COMMAND dpkg-gensymbols -q -p${name} -v${CPACK_PACKAGE_VERSION} "-P${tree}"
                            "-O${tree}/DEBIAN/symbols" COMMAND_ERROR_IS_FATAL ANY)
  endif()
  # Whatever whoever packages keeps from others: what is installed is for all to read.
  execute_process(COMMAND chmod -R u=rwX,go=rX "${tree}" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build "${tree}" "${package}"
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE "${tree}")
endforeach()
