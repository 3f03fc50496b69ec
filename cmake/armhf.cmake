# Cross-building for 32-bit Arm (Debian's armhf): Debian's cross compiler with its own C and C++ libraries, and everything
# else from the directory that scripts/sysroot fills. Nothing of this machine is searched but its programs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# Without a detour in it: a path below the root is taken as it stands only when it begins with the root's own letters.
get_filename_component(default_sysroot "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-armhf" ABSOLUTE)
set(QMT_SYSROOT "${default_sysroot}" CACHE PATH "Debian's armhf packages, unpacked")
if(NOT EXISTS "${QMT_SYSROOT}/usr/include/Poco/Poco.h")
    message(FATAL_ERROR "${QMT_SYSROOT} is not filled: run scripts/sysroot first")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QMT_SYSROOT)

set(CMAKE_FIND_ROOT_PATH "${QMT_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The program finds its libraries where the target keeps them; the build directory's path has no place in it.
set(CMAKE_SKIP_BUILD_RPATH ON)

# Tests that CMake starts run under user-mode emulation.
set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-arm-static;-L;${QMT_SYSROOT}")
