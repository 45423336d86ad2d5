# Debian's cross compilers over a root that cross/root.sh has made. CORVEX_CROSS_ARCH (Debian's name
# of the processor) and CORVEX_CROSS_ROOT come from the command line.
#
# CMake reads this file again for every trial compile, in a project that knows these variables only
# if they are handed on.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CORVEX_CROSS_ARCH CORVEX_CROSS_ROOT)

set(CMAKE_SYSTEM_NAME Linux)
if(CORVEX_CROSS_ARCH STREQUAL armhf)
  set(CMAKE_SYSTEM_PROCESSOR armv7l)
  set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L ${CORVEX_CROSS_ROOT})
elseif(CORVEX_CROSS_ARCH STREQUAL arm64)
  set(CMAKE_SYSTEM_PROCESSOR aarch64)
  set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L ${CORVEX_CROSS_ROOT})
elseif(CORVEX_CROSS_ARCH STREQUAL i386)
  # A PC runs these programs itself, given their own loader and libraries.
  set(CMAKE_SYSTEM_PROCESSOR i686)
  set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CORVEX_CROSS_ROOT}/usr/lib/ld-linux.so.2
    --library-path ${CORVEX_CROSS_ROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
else()
  message(FATAL_ERROR "CORVEX_CROSS_ARCH is '${CORVEX_CROSS_ARCH}': use armhf, arm64 or i386")
endif()

# Compilers name this one processor otherwise than packages do.
string(REPLACE i386 i686 CORVEX_CROSS_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE})
if(NOT DEFINED CMAKE_CXX_COMPILER)
  set(CMAKE_CXX_COMPILER ${CORVEX_CROSS_COMPILER}-g++)
endif()
set(CMAKE_CXX_COMPILER_TARGET ${CORVEX_CROSS_COMPILER})  # for clang, which is all processors' compiler

set(CMAKE_SYSROOT ${CORVEX_CROSS_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CORVEX_CROSS_ROOT})
set(ENV{PKG_CONFIG_LIBDIR}
  ${CORVEX_CROSS_ROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CORVEX_CROSS_ROOT}/usr/share/pkgconfig)
