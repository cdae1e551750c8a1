# Cross-builds for 64-bit Arm with Debian's compiler. Libraries and headers come from a sysroot, which
# scripts/test-arm64 makes; programs run under user-mode emulation.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(KYR_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/arm64-sysroot" CACHE PATH "Debian for arm64, unpacked")
get_filename_component(CMAKE_SYSROOT "${KYR_SYSROOT}" ABSOLUTE)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/arm64-run;${CMAKE_SYSROOT}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
