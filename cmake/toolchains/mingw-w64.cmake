# Windows x86-64 from Linux: mingw-w64's GCC (POSIX threads) compiles, wine runs the tests.
# Debian 12: scripts/packages.sh build test windows
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Nothing of the build machine's own libraries may be found; headers alone are borrowed from it
# (OrvixBorrowedHeaders.cmake).
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# CGAL's templates need more sections than the plain object format has; wine's debugger reads
# DWARF 4 at most.
set(CMAKE_CXX_FLAGS_INIT "-Wa,-mbig-obj")
set(CMAKE_CXX_FLAGS_DEBUG_INIT "-gdwarf-4")
# Every module carries its own runtime, so that no DLL has to travel with it, and no time stamp,
# so that the same sources give the same bytes.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -Wl,--no-insert-timestamp")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -Wl,--no-insert-timestamp")

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine-run)
