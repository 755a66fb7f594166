# Reproducible builds: debug information and messages name source files relative to the build folder.
# ccache still shares results between checkouts. Debug builds keep absolute paths.
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

# Hardening that some compilers and C libraries lack. A compiler that ignores an option warns, so the
# probes treat warnings as errors.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_FLAGS -Werror)
check_cxx_compiler_flag(-fstack-clash-protection SYSCONFREADER_HAS_STACK_CLASH_PROTECTION)
# Level 3 also checks buffers whose size is known only at run time.
set(CMAKE_REQUIRED_FLAGS "-Werror -O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_cxx_source_compiles(
  "#include <cstring>
#if __USE_FORTIFY_LEVEL < 3
#error The C library has no such level, or not for this compiler.
#endif
int main() {}"
  SYSCONFREADER_HAS_FORTIFY_LEVEL_3)
unset(CMAKE_REQUIRED_FLAGS)
set(SYSCONFREADER_FORTIFY_LEVEL $<IF:$<BOOL:${SYSCONFREADER_HAS_FORTIFY_LEVEL_3}>,3,2>)

# sysconf_compile_options(TARGET): for every target of the project, not for those of consumers.
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
    # The coverage counters are in the fuzzer, so the libraries have undefined symbols.
    return()
  endif()
  # Without a sanitizer every symbol must be defined at link time, and the hardening applies.
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    # The linker marks a file for shadow stacks only if all its input files are marked, which some compatible
    # start files are not, so the mark is forced. Not for indirect branch tracking: the _init of unmarked
    # start files does not begin with endbr64.
    target_compile_options(${target} PRIVATE -fcf-protection)
    target_link_options(${target} PRIVATE -Wl,-z,shstk)
  elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    target_compile_options(${target} PRIVATE -mbranch-protection=standard)
  endif()
  target_compile_options(
    ${target}
    PRIVATE
      -fstack-protector-strong
      $<$<BOOL:${SYSCONFREADER_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>
      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=${SYSCONFREADER_FORTIFY_LEVEL}>
  )
  target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS)
  target_link_options(${target} PRIVATE -Wl,-z,defs -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endfunction()

# sysconf_static_thread_variables(TARGET): without this, the first use on each thread of a library that was
# loaded by dlopen() allocates the memory of its thread_local variables, and the C library ends the process if
# there is none. All loaded libraries share little memory of this kind, so the variables must be small.
function(sysconf_static_thread_variables target)
  target_compile_options(${target} PRIVATE -ftls-model=initial-exec)
endfunction()

# sysconf_unity_by_folder(TARGET): a unity build compiles the sources of one folder as one. Folders use the
# same names in their unnamed namespaces. To be called when TARGET has all its sources.
function(sysconf_unity_by_folder target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    cmake_path(GET source PARENT_PATH folder)
    cmake_path(GET folder FILENAME name)
    set_source_files_properties("${source}" PROPERTIES UNITY_GROUP "${name}")
  endforeach()
endfunction()
