# dpkg-shlibdeps must look at the sysroot's packages, not at those of this machine.
set(SHLIBDEPS_EXECUTABLE ${CMAKE_CURRENT_LIST_DIR}/shlibdeps-armhf)
