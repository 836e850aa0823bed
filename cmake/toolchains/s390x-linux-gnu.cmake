# Cross build for 64-bit big-endian IBM Z (s390x) with Debian's cross compilers. Programs built here
# run on this machine under qemu-user, so ctest and test discovery work as in a native build.
#
#   cmake -S . -B build-be -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/s390x-linux-gnu.cmake
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)

set(BKGCOLORS_TARGET_TRIPLE s390x-linux-gnu)
set(BKGCOLORS_TARGET_ROOT /usr/${BKGCOLORS_TARGET_TRIPLE})

set(CMAKE_C_COMPILER ${BKGCOLORS_TARGET_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${BKGCOLORS_TARGET_TRIPLE}-g++)

# Headers and libraries come from the target's root only; helper programs from this machine.
set(CMAKE_FIND_ROOT_PATH ${BKGCOLORS_TARGET_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# -L lets the emulator find the target's dynamic loader and C++ runtime.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x -L ${BKGCOLORS_TARGET_ROOT})
