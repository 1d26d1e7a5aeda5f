# Common part of the toolchain files: Debian's cross compiler with a sysroot of the board's packages.
# "simulator/board sysroot" creates the sysroot; the environment variable ARM_SYSROOT selects
# another one. The toolchain file sets the processor, the library architecture and _board, the
# directory of the board in build/.
set(CMAKE_SYSTEM_NAME Linux)

if(DEFINED ENV{ARM_SYSROOT})
    set(CMAKE_SYSROOT "$ENV{ARM_SYSROOT}")
else()
    set(_name "${CMAKE_CURRENT_LIST_DIR}/../../build/${_board}/sysroot.name")
    if(EXISTS "${_name}")
        file(READ "${_name}" CMAKE_SYSROOT)
    endif()
endif()
if(NOT IS_DIRECTORY "${CMAKE_SYSROOT}/usr/include")
    message(FATAL_ERROR "No sysroot: run simulator/board sysroot")
endif()

set(CMAKE_C_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-gcc)
set(CMAKE_CXX_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-g++)

set(CMAKE_FIND_ROOT_PATH "${CMAKE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Make pkg-config search the sysroot only.
set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(_libraries "${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}")
set(ENV{PKG_CONFIG_LIBDIR} "${_libraries}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# moc, rcc and uic run on the host: use those of the host's Qt.
set(QT_HOST_PATH /usr)
file(GLOB _host_qt /usr/lib/*-linux-gnu*/cmake/Qt6HostInfo)
list(GET _host_qt 0 _host_qt)
get_filename_component(QT_HOST_PATH_CMAKE_DIR "${_host_qt}" DIRECTORY)
