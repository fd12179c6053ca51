# Debian's arm64: ARMv8, 64 bits.
set(AAA_MACHINE arm64)
set(AAA_TRIPLET aarch64-linux-gnu)
set(AAA_QEMU qemu-aarch64-static)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
