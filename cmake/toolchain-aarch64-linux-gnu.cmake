# Builds for 64-bit ARM with Debian's cross compiler: cmake --toolchain cmake/toolchain-aarch64-linux-gnu.cmake ...
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triple aarch64-linux-gnu)
set(QX_EMULATOR_NAMES qemu-aarch64-static qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-debian.cmake)
