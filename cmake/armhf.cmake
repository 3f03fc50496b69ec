# 32-bit Arm, Debian's armhf.
set(QMT_ARCHITECTURE armhf)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(QMT_EMULATOR qemu-arm-static)
include(${CMAKE_CURRENT_LIST_DIR}/CrossDebian.cmake)
