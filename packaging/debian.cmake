# Debian packages, made by cpack: one of each component, named for what it has. No name carries an
# ABI number, as the libraries carry none: they are loaded by their plain names, so no two versions
# are ever installed side by side, and each package depends on exactly the version of the others that
# it was built with. docs/packaging.md tells how to make them.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME sysconfreader)
set(CPACK_PACKAGE_VENDOR "sysconfreader maintainers")
set(CPACK_PACKAGE_CONTACT "sysconfreader maintainers <maintainers@sysconfreader.invalid>")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/package")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ
    OWNER_WRITE
    OWNER_EXECUTE
    GROUP_READ
    GROUP_EXECUTE
    WORLD_READ
    WORLD_EXECUTE)
# Completes what was installed for a package: see there.
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/debian/complete.cmake")
# And what cpack made of it.
set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/debian/repack.cmake")
set(CPACK_SYSCONFREADER_DEBIAN_DIR "${CMAKE_CURRENT_LIST_DIR}/debian")
set(CPACK_SYSCONFREADER_SOURCE_DIR "${PROJECT_SOURCE_DIR}")
set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_LIST_DIR}/debian/settings.cmake")
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE sysconfreader)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip) # for the short while until it is repacked
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS)
set(CPACK_COMPONENTS_ALL)

# debian_package(COMPONENT PACKAGE SECTION SUMMARY DESCRIPTION [COMPONENT IT NEEDS]...)
macro(debian_package component package section summary description)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_COMPONENT_${upper}_DEPENDS ${ARGN})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${description}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
endmacro()

# debian_libraries(COMPONENT TARGET...): packages that need these libraries find them, and the
# loader's cache learns of them.
macro(debian_libraries component)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/debian/triggers")
  foreach(target ${ARGN})
    get_target_property(directory ${target} BINARY_DIR)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${directory}")
  endforeach()
endmacro()

set(platform)
if(SYSCONFREADER_PLATFORM STREQUAL "system")
  foreach(name quarnjsonutil quarnbaseutil)
    cmake_path(GET SYSCONFREADER_${name}_LIBRARY PARENT_PATH directory)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${directory}")
  endforeach()
else()
  set(platform platform)
  debian_package(
    platform libquarn-platform libs "JSON and host address libraries for sysconfreader"
    "The utility libraries libquarnjsonutil and libquarnbaseutil, for machines whose
platform does not bring its own, with their headers.")
  debian_libraries(platform quarnjsonutil quarnbaseutil)
endif()

debian_package(
  library
  libsysconfreader
  libs
  "library that tells processes of a cluster where they run"
  "Answers the processes of a clustered deployment which node they run on, in
which role, with which addresses, ports and databases, from the deployment's
configuration files."
  ${platform})
debian_libraries(library sysconfreader)

debian_package(
  development
  libsysconfreader-dev
  libdevel
  "development files of libsysconfreader"
  "Headers, and what CMake and pkg-config need to find the library
libsysconfreader."
  library
  ${platform})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libjsoncpp-dev, libace-dev, pkg-config")

if(TARGET eventcbutil)
  debian_package(
    eventcbutil libeventcbutil libs "event library that watches configuration files"
    "Tells libsysconfreader of changes of the configuration files, on machines
whose deployment has no event service.")
  debian_libraries(eventcbutil eventcbutil)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SUGGESTS libeventcbutil)
endif()

if(TARGET sysconfctl)
  debian_package(
    tools
    sysconfctl
    admin
    "shows, explains and checks what sysconfreader answers"
    "The operator's tool of libsysconfreader: shows what the library answers on a
node, explains why, checks the configuration files and draws the deployment.
Comes with completions for bash, zsh and fish and with JSON schemas of the
files."
    library
    ${platform})
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "graphviz, libeventcbutil")
endif()

include(CPack)
