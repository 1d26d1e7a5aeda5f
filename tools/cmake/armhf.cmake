# Toolchain file for armhf boards: Debian's cross compiler with a sysroot of armhf packages.
# "simulator/board sysroot" creates the sysroot; the environment variable ARM_SYSROOT selects
# another one.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

if(DEFINED ENV{ARM_SYSROOT})
    set(CMAKE_SYSROOT "$ENV{ARM_SYSROOT}")
else()
    get_filename_component(_board "${CMAKE_CURRENT_LIST_DIR}/../../build/board" ABSOLUTE)
    set(CMAKE_SYSROOT "${_board}/sysroot")
    # Path to the same sysroot without spaces, which pkg-config cannot handle.
    if(EXISTS "${_board}/sysroot.name")
        file(READ "${_board}/sysroot.name" CMAKE_SYSROOT)
    endif()
endif()
if(NOT IS_DIRECTORY "${CMAKE_SYSROOT}/usr/include")
    message(FATAL_ERROR "No sysroot in ${CMAKE_SYSROOT}: run simulator/board sysroot")
endif()

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# Silence GCC's note about the ABI change in GCC 7.1: everything is built with one compiler.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

set(CMAKE_FIND_ROOT_PATH "${CMAKE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Make pkg-config search the sysroot only.
set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# moc, rcc and uic run on the host: use those of the host's Qt.
set(QT_HOST_PATH /usr)
file(GLOB _host_qt /usr/lib/*-linux-gnu*/cmake/Qt6HostInfo)
list(GET _host_qt 0 _host_qt)
get_filename_component(QT_HOST_PATH_CMAKE_DIR "${_host_qt}" DIRECTORY)
