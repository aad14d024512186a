# Builds for 32-bit ARM with Debian's cross compiler: cmake --toolchain cmake/toolchain-arm-linux-gnueabihf.cmake ...
# Headers and libraries come from QX_SYSROOT when it is set, else from Debian's own packages of the architecture armhf.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(triple arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${triple}-gcc)
set(CMAKE_CXX_COMPILER ${triple}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triple})
# Notes on how arguments were passed by compilers before version 7: all of the code is built with one compiler.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QX_SYSROOT)
if(QX_SYSROOT)
    set(CMAKE_SYSROOT ${QX_SYSROOT})
    set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Tests run under emulation where it is installed.
find_program(QX_EMULATOR NAMES qemu-arm-static qemu-arm)
if(QX_EMULATOR)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${QX_EMULATOR} -L /usr/${triple})
endif()
