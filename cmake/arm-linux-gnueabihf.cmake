# 32-bit ARM Linux, the target of the library: hard float, 32-bit time_t. Programs built for it run
# on the host through qemu-arm.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(triplet arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)

# The compiler's own libraries, and what tools/unpack-arm-packages has brought.
cmake_path(SET packages NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../build/arm-packages")
set(CMAKE_FIND_ROOT_PATH /usr/${triplet} ${packages})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/${triplet}
  -E LD_LIBRARY_PATH=${packages}/usr/lib/${triplet})
