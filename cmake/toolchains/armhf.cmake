# Debian's armhf: ARMv7, 32 bits, hardware floating point.
set(AAA_MACHINE armhf)
set(AAA_TRIPLET arm-linux-gnueabihf)
set(AAA_QEMU qemu-arm-static)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
