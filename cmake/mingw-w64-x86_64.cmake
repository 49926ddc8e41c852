# Cross build for 64-bit Windows with Debian's mingw-w64 (posix threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(PALISORNE_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${PALISORNE_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${PALISORNE_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${PALISORNE_MINGW_PREFIX}-windres)
set(CMAKE_OBJDUMP ${PALISORNE_MINGW_PREFIX}-objdump)

set(CMAKE_FIND_ROOT_PATH /usr/${PALISORNE_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The module and the test programs carry their own C++ runtime, so a
# Windows machine needs nothing but its system DLLs.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

