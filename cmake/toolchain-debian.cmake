# What the toolchain files of Debian's cross compilers have in common. Requires: triple and QX_EMULATOR_NAMES.
# Headers and libraries come from QX_SYSROOT when it is set, else from Debian's own packages of the architecture.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triple}-gcc)
set(CMAKE_CXX_COMPILER ${triple}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triple})

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QX_SYSROOT)
if(QX_SYSROOT)
    set(CMAKE_SYSROOT ${QX_SYSROOT})
    set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
    set(loader_root ${QX_SYSROOT})
else()
    set(loader_root /usr/${triple})
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Tests run under emulation where it is installed.
find_program(QX_EMULATOR NAMES ${QX_EMULATOR_NAMES})
if(QX_EMULATOR)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${QX_EMULATOR} -L ${loader_root})
endif()
