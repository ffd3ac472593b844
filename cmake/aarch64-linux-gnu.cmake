# Cross build for 64-bit Arm Linux with Debian's cross compiler and the arm64
# multiarch packages of the dependencies (dpkg --add-architecture arm64).
# Test programs run through qemu-user; QEMU_CPU picks the emulated processor
# (cortex-a72 for NEON only, "max,sve256=on" for SVE with 256-bit vectors).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Multiarch: the arm64 libraries live in /usr/lib/aarch64-linux-gnu, next to
# the host's, and share /usr/include with them.
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig")
# Without -L: the guest's loader and libraries are the multiarch ones in
# /lib/aarch64-linux-gnu, which the emulator finds by their usual paths.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
