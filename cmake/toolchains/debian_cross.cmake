# Debian's cross compiler for AAA_TRIPLET, the libraries that script/sysroot has unpacked for
# AAA_MACHINE, and AAA_QEMU to run what was built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${AAA_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${AAA_TRIPLET}-g++)
# Says nothing about types that GCC 7 began to pass differently: all is built by one compiler.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

cmake_path(SET AAA_SYSROOT NORMALIZE
  "${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${AAA_MACHINE}")
set(CMAKE_FIND_ROOT_PATH ${AAA_SYSROOT} /usr/${AAA_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${AAA_QEMU} -L /usr/${AAA_TRIPLET})
