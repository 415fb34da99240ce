# Cross-build for Windows x86-64 with MinGW-w64 of the posix threads kind; programs of the build,
# the tests among them, run under Wine. scripts/test-windows.sh prepares all that it needs.
#
#   KIV_WINDOWS_PREFIX   where curl, JsonCpp, GoogleTest and CLI11 for Windows were installed
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KIV_WINDOWS_PREFIX "$ENV{KIV_WINDOWS_PREFIX}" CACHE PATH
    "Where the libraries for Windows were installed")
# Trial builds of CMake read this file too, and don't know the cache.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KIV_WINDOWS_PREFIX)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${KIV_WINDOWS_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The run-time libraries of the compiler go into each file: what is shipped needs Windows alone.
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
endforeach()

find_program(KIV_WINE NAMES wine wine64 wine64-stable)
if(KIV_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR "${KIV_WINE}")
endif()
