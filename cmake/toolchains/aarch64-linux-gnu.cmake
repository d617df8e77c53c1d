# AArch64 Linux, the architecture of the devices: built with Debian's cross compiler against its arm64 packages, run
# under user-mode emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-aarch64)
set(CMAKE_IGNORE_PREFIX_PATH /usr/lib/x86_64-linux-gnu)
