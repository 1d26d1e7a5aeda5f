# Make dpkg-shlibdeps use the package database of the sysroot instead of that of the host.
set(SHLIBDEPS_EXECUTABLE ${CMAKE_CURRENT_LIST_DIR}/shlibdeps-armhf)
