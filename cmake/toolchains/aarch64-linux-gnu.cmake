# 64-bit ARM Linux with glibc, built with Debian's cross compiler against the
# multiarch (:arm64) development packages. Programs built here run on this
# machine through qemu-aarch64, which finds the arm64 loader and libraries in
# their multiarch places by itself.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)

# Only the arm64 .pc files: the host's would hand out the wrong libcrypto.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
