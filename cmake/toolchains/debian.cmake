# What the toolchain files share: Debian's cross compilers, named by the GNU triplet that the including file
# sets in `triplet`, and the command that runs a program of that processor in `emulator`.
#
# The libraries are those of the foreign architecture on this machine (dpkg --add-architecture), or of a
# root file system of that architecture: -DCMAKE_SYSROOT=/path/of/root. Its programs then run on this machine too.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${triplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

if(CMAKE_SYSROOT)
  list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -L ${CMAKE_SYSROOT})
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
  set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
  set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
  set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
  set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
endif()
