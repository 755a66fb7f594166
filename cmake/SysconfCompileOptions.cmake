# What is shipped is the same wherever it is built: neither debug information nor messages name the
# folder of the sources; files have their names as seen from the build folder, where debuggers find
# them by these. (A compiler cache may give the same names already; it knows this option, and still
# shares between checkouts.) Debug builds keep the whole names.
if(NOT SYSCONFREADER_SANITIZE)
  cmake_path(IS_PREFIX PROJECT_SOURCE_DIR "${PROJECT_BINARY_DIR}" build_is_inside)
  if(build_is_inside)
    file(RELATIVE_PATH source_seen_from_build "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")
    string(REGEX REPLACE "/$" "" source_seen_from_build "${source_seen_from_build}")
  else()
    set(source_seen_from_build ..)
  endif()
  foreach(map "${PROJECT_SOURCE_DIR}=${source_seen_from_build}" "${PROJECT_BINARY_DIR}=.")
    add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-ffile-prefix-map=${map}>")
  endforeach()
endif()

# sysconf_compile_options(TARGET): the language level, warnings, hardening and sanitizer that every
# target of the project is built with. Nothing of it reaches a consumer's own targets.
function(sysconf_compile_options target)
  set_target_properties(
    ${target}
    PROPERTIES CXX_STANDARD 20
               CXX_STANDARD_REQUIRED ON
               CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               POSITION_INDEPENDENT_CODE ON)
  target_compile_options(
    ${target}
    PRIVATE -Wall
            -Wextra
            -Wconversion
            -Wshadow
            -Wformat-security
            -Werror=format-security
            $<$<BOOL:${SYSCONFREADER_WERROR}>:-Werror>)
  if(SYSCONFREADER_SANITIZE STREQUAL "address")
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
  elseif(SYSCONFREADER_SANITIZE STREQUAL "thread")
    set(sanitizers -fsanitize=thread)
  elseif(SYSCONFREADER_SANITIZE)
    message(FATAL_ERROR "SYSCONFREADER_SANITIZE is empty, address or thread")
  endif()
  if(sanitizers)
    target_compile_options(${target} PRIVATE ${sanitizers} -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE ${sanitizers})
    return()
  endif()
  if(SYSCONFREADER_BUILD_FUZZERS)
    # What counts the coverage is in the fuzzer, not in the libraries.
    return()
  endif()
  # Without a sanitizer every symbol must be found at link time, and the usual hardening applies.
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    # The linker would mark as fit for shadow stacks only what consists of marked files, and the C
    # library's start files are not marked everywhere. They are fit: they change no return address.
    target_compile_options(${target} PRIVATE -fcf-protection)
    target_link_options(${target} PRIVATE -Wl,-z,shstk)
  elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    target_compile_options(${target} PRIVATE -mbranch-protection=standard)
  endif()
  target_compile_options(
    ${target}
    PRIVATE
      -fstack-protector-strong
      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=2>
  )
  target_link_options(${target} PRIVATE -Wl,-z,defs -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endfunction()
