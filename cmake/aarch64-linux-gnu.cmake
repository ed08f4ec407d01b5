# Cross build for aarch64 Linux with Debian's cross compiler, or with clang if -DCMAKE_C_COMPILER and
# -DCMAKE_CXX_COMPILER name it; tests run under qemu-user.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
if(NOT DEFINED CMAKE_CXX_COMPILER)
  set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
  set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
endif()
set(CMAKE_C_COMPILER_TARGET aarch64-linux-gnu)  # for clang
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_OBJDUMP aarch64-linux-gnu-objdump)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)
