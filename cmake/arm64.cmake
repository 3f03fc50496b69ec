# 64-bit Arm, Debian's arm64.
set(QMT_ARCHITECTURE arm64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(QMT_EMULATOR qemu-aarch64-static)
include(${CMAKE_CURRENT_LIST_DIR}/CrossDebian.cmake)
