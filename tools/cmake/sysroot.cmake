# Toolchain file of the cross build against a sysroot (CMAKE_SYSROOT): debian/rules sets the rest.
set(CMAKE_SYSTEM_NAME Linux)

# Silence GCC's note about the ABI change in GCC 7.1: everything is built with one compiler.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# In each run of CMake, pkg-config must find the sysroot's libraries and never the host's.
file(GLOB SYSROOT_PKG_CONFIG "${CMAKE_SYSROOT}/usr/lib/*-linux-gnu*/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${SYSROOT_PKG_CONFIG}")

# moc, rcc and uic run on the host: use those of the host's Qt.
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake)
