# From Debian to 64-bit Windows, with MinGW-w64. Programs of the build run under Wine.
# CMAKE_PREFIX_PATH names where the libraries for Windows are.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)

# The variant whose threads are those of the C++ library.
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# Programs are the host's, all else is the target's.
set(CMAKE_FIND_ROOT_PATH "/usr/${triple}" ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

list(TRANSFORM CMAKE_PREFIX_PATH APPEND /bin OUTPUT_VARIABLE dll_folders)
list(JOIN dll_folders ":" dll_folders)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine.sh;${dll_folders}")
