# Toolchain file for the board: Debian's armhf cross compiler over a sysroot of armhf packages
# (simulator/board sysroot makes one; ARM_SYSROOT in the environment names another).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

if(DEFINED ENV{ARM_SYSROOT})
    set(CMAKE_SYSROOT "$ENV{ARM_SYSROOT}")
else()
    get_filename_component(_board "${CMAKE_CURRENT_LIST_DIR}/../build/board" ABSOLUTE)
    set(CMAKE_SYSROOT "${_board}/sysroot")
    # The tool's name for it has no blank in it: pkg-config cannot handle one.
    if(EXISTS "${_board}/sysroot.name")
        file(READ "${_board}/sysroot.name" CMAKE_SYSROOT)
    endif()
endif()
if(NOT IS_DIRECTORY "${CMAKE_SYSROOT}/usr/include")
    message(FATAL_ERROR "There is no sysroot in ${CMAKE_SYSROOT}: run simulator/board sysroot")
endif()

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# One compiler builds everything: its note on how GCC 7.1 changed the ABI is of no use here.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

set(CMAKE_FIND_ROOT_PATH "${CMAKE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config must see the board's libraries, not the host's.
set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# moc, rcc and uic run on the host and come from its Qt.
set(QT_HOST_PATH /usr)
file(GLOB _host_qt /usr/lib/*-linux-gnu*/cmake/Qt6HostInfo)
list(GET _host_qt 0 _host_qt)
get_filename_component(QT_HOST_PATH_CMAKE_DIR "${_host_qt}" DIRECTORY)
