# 32-bit x86 build on a 64-bit x86 Debian host with the multilib compilers and the i386 packages
# of the libraries (dpkg --add-architecture i386). The programs run natively.
#
#   cmake -S . -B build-32 -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/i686-linux-gnu.cmake
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)

# pkg-config must find the i386 libraries' files, not the host's: those unpacked into
# BKGCOLORS_I386_ROOT (scripts/unpack-i386) first, then the installed ones.
# The compiler checks read this file again in the same process: they must see the folder too, or
# they would reset the variable for the whole run.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES BKGCOLORS_I386_ROOT)
set(_bkg_i386_pc /usr/lib/i386-linux-gnu/pkgconfig:/usr/share/pkgconfig)
if(BKGCOLORS_I386_ROOT)
    set(_bkg_i386_pc ${BKGCOLORS_I386_ROOT}/usr/lib/i386-linux-gnu/pkgconfig:${_bkg_i386_pc})
endif()
set(ENV{PKG_CONFIG_LIBDIR} ${_bkg_i386_pc})
