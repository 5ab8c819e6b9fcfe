# Toolchain for Windows: Debian's MinGW compilers with POSIX threads. ZFORMS_WINDOWS_CPU is x86_64 or i686.

set(CMAKE_SYSTEM_NAME Windows)
if(NOT ZFORMS_WINDOWS_CPU)
  set(ZFORMS_WINDOWS_CPU x86_64)
endif()
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZFORMS_WINDOWS_CPU)
set(CMAKE_SYSTEM_PROCESSOR ${ZFORMS_WINDOWS_CPU})
set(triple ${ZFORMS_WINDOWS_CPU}-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# Tests run by Wine where it is installed.
if(ZFORMS_WINDOWS_CPU STREQUAL "x86_64" AND EXISTS /usr/lib/wine/wine64)
  set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
endif()

# The compiler's runtime libraries become part of each program and library.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static")
endforeach()

# Finds only the libraries that packaging/windows/dependencies.sh made, and none of the system that builds.
get_filename_component(deps "${CMAKE_CURRENT_LIST_DIR}/../build/windows/deps/${ZFORMS_WINDOWS_CPU}" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH "${deps}" "/usr/${triple}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${deps}/lib/pkgconfig")
