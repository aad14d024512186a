# Builds for 32-bit ARM with Debian's cross compiler: cmake --toolchain cmake/toolchain-arm-linux-gnueabihf.cmake ...
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(triple arm-linux-gnueabihf)
set(QX_EMULATOR_NAMES qemu-arm-static qemu-arm)
# Notes on how arguments were passed by compilers before version 7: all of the code is built with one compiler.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-debian.cmake)
