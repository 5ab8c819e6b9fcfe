# The options of the build, and the compiler flags for them.

option(BUILD_TESTING "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(ZFORMS_BUILD_TOOL "Build the command line tool" ${PROJECT_IS_TOP_LEVEL})
option(ZFORMS_BUILD_BENCH "Build the benchmarks where Google Benchmark is found" OFF)
option(ZFORMS_WERROR "Warnings are errors" OFF)
option(ZFORMS_FUZZ "Build fuzz/ with libFuzzer (needs clang)" OFF)
option(ZFORMS_COVERAGE "Count the lines that run (gcov)" OFF)
option(ZFORMS_STRIP "Install the library and the tool without the symbols of the debugger" ON)
option(ZFORMS_CCACHE "Compile through ccache where it is found" ON)
set(ZFORMS_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize= takes them: address,undefined or thread")

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(ZFORMS_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(ZFORMS_CCACHE_PROGRAM ccache)
  if(ZFORMS_CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${ZFORMS_CCACHE_PROGRAM}")
  endif()
endif()

# Everything is compiled with the same instrumentation, as the sanitizers require. The package test passes these flags
# to the program that it builds against the installed library.
set(ZFORMS_INSTRUMENTATION "")
if(ZFORMS_SANITIZE)
  list(APPEND ZFORMS_INSTRUMENTATION -fsanitize=${ZFORMS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
endif()
if(ZFORMS_SANITIZE MATCHES "address")
  # Allocates each node in a block of its own, so that the sanitizer detects its use after deletion.
  add_compile_definitions(ZFORMS_SEPARATE_BLOCKS)
endif()
if(ZFORMS_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Asio uses fences, which ThreadSanitizer does not support; g++ warns about it. The data are also protected by locks.
  add_compile_options(-Wno-tsan)
endif()
if(ZFORMS_COVERAGE)
  list(APPEND ZFORMS_INSTRUMENTATION --coverage)
endif()
if(ZFORMS_INSTRUMENTATION)
  add_compile_options(${ZFORMS_INSTRUMENTATION})
  add_link_options(${ZFORMS_INSTRUMENTATION})
endif()
if(ZFORMS_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "ZFORMS_FUZZ needs clang: cmake --preset fuzz")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# For tests and sources that are mostly templates: compiled without optimisation, which takes a quarter of the time
# under the sanitizers. The library code that they call is optimised anyway.
set(ZFORMS_UNOPTIMISED "")
if(WIN32)
  # Builds for Windows always have these flags, whatever their configuration. Templates without optimisation need more
  # sections than a usual object file can have.
  set(ZFORMS_UNOPTIMISED -O0 -Wa,-mbig-obj)
elseif(NOT MSVC)
  set(ZFORMS_UNOPTIMISED "$<$<CONFIG:Debug>:-O0>")
endif()

# Sets the warnings and code generation of every target of ours.
function(zforms_target_defaults target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /permissive- /utf-8 $<$<BOOL:${ZFORMS_WERROR}>:/WX>)
    return()
  endif()
  target_compile_options(
    ${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
                      -fno-semantic-interposition $<$<BOOL:${ZFORMS_WERROR}>:-Werror>)
endfunction()

# Makes a shared library with an undefined symbol fail when it is linked, not when it is loaded. Does nothing
# under a sanitizer, whose symbols only the program defines.
function(zforms_refuse_undefined_symbols target)
  if(NOT WIN32 AND NOT APPLE AND NOT ZFORMS_INSTRUMENTATION)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()

# Lists the sources of the named folders, without the files for other operating systems.
function(zforms_glob_sources variable)
  list(TRANSFORM ARGN REPLACE "(.+)" "${PROJECT_SOURCE_DIR}/\\1/*.cpp" OUTPUT_VARIABLE globs)
  file(GLOB sources CONFIGURE_DEPENDS ${globs})
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "_posix\\.cpp$")
  else()
    list(FILTER sources EXCLUDE REGEX "_win32\\.cpp$")
  endif()
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()
