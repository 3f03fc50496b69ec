# Cross-building for another architecture of Debian, QMT_ARCHITECTURE as Debian names it: Debian's cross compiler with its
# own C and C++ libraries, and everything else from the directory that scripts/sysroot fills. Nothing of this machine is
# searched but its programs. CMAKE_SYSTEM_PROCESSOR, CMAKE_LIBRARY_ARCHITECTURE and QMT_EMULATOR are set before.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-gcc)
set(CMAKE_CXX_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-g++)

# The path must be normalised: CMake uses a path below the root unchanged only if it begins with the exact root path.
get_filename_component(default_sysroot "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-${QMT_ARCHITECTURE}" ABSOLUTE)
set(QMT_SYSROOT "${default_sysroot}" CACHE PATH "Debian's ${QMT_ARCHITECTURE} packages, unpacked")
if(NOT EXISTS "${QMT_SYSROOT}/usr/include/Poco/Poco.h")
    message(FATAL_ERROR "${QMT_SYSROOT} is not filled: run scripts/sysroot ${QMT_ARCHITECTURE} first")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QMT_SYSROOT)

# After the caller's own entries.
list(APPEND CMAKE_FIND_ROOT_PATH "${QMT_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The program finds its libraries in the target's default directories and needs no RPATH.
set(CMAKE_SKIP_BUILD_RPATH ON)

# Tests that CMake starts run under user-mode emulation.
set(CMAKE_CROSSCOMPILING_EMULATOR "${QMT_EMULATOR};-L;${QMT_SYSROOT}")
