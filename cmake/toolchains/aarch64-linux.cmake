# Cross-builds for 64-bit ARM Linux with Debian's compiler; the programs run under QEMU's
# user-mode emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(triplet aarch64-linux-gnu)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)

set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The programs name the loader and the libraries of the cross compiler. The emulator's option
# -L would find them too, but it also redirects every file that a program opens. The old kind
# of run path also holds for the libraries of libraries.
set(run_path "-Wl,-rpath,/usr/${triplet}/lib -Wl,--disable-new-dtags")
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,--dynamic-linker=/usr/${triplet}/lib/ld-linux-aarch64.so.1 ${run_path}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${run_path}")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
