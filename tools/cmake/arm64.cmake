# Toolchain file for arm64 boards.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(_board board-arm64)

include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
