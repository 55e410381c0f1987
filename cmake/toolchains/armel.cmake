# 32-bit ARM without a floating-point unit (ARMv5TE).
set(CMAKE_SYSTEM_PROCESSOR armv5tel)
set(triplet arm-linux-gnueabi)
set(emulator qemu-arm-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
