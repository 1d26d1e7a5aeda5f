# Toolchain file for armhf boards.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(_board board)

# Silence GCC's note about the ABI change in GCC 7.1: everything is built with one compiler.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
