# 32-bit x86 build on a 64-bit x86 Debian host with the multilib compilers and the i386 packages
# of the libraries (dpkg --add-architecture i386). The programs run natively.
#
#   cmake -S . -B build-32 -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/i686-linux-gnu.cmake
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)

# pkg-config must find the i386 libraries' files, not the host's.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/i386-linux-gnu/pkgconfig:/usr/share/pkgconfig)
