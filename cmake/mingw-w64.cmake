# Cross-compiling for 64-bit Windows with Debian's MinGW-w64 toolchain
# (g++-mingw-w64-x86-64-posix: the posix thread model, which std::thread and
# std::mutex need). The programs it builds run here under Wine, which CTest
# uses as the emulator.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(OSTREL_MINGW_TRIPLE x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${OSTREL_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${OSTREL_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${OSTREL_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${OSTREL_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The compiler's own runtime (libgcc, libstdc++, winpthread) goes into every
# module, so Ostrel.dll and the programs need no MinGW DLLs beside them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# The project wraps it as CTest's emulator (tools/wine-run.sh.in).
find_program(OSTREL_WINE NAMES wine wine64)
