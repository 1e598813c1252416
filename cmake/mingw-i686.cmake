# Cross-builds the 32-bit Windows program with Debian's MinGW-w64, threads by the platform's own.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(triplet i686-w64-mingw32)
set(CMAKE_CXX_COMPILER ${triplet}-g++-win32)
set(CMAKE_C_COMPILER ${triplet}-gcc-win32)
set(CMAKE_RC_COMPILER ${triplet}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# CTest and GoogleTest start the built programs through Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine)

# For whoever reads a crash: frame pointers keep stack walks whole on 32 bits, through GoogleTest's frames too, and
# Wine's debug-help library reads debug information up to DWARF 4.
set(CMAKE_CXX_FLAGS_INIT "-fno-omit-frame-pointer -gdwarf-4")
