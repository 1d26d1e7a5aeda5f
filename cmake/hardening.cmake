# Debian's hardening flags for what is built from here on: the program runs as root. Those for
# optimisation and debugging are the build type's; the project maps its own paths.
find_program(DPKG_BUILDFLAGS dpkg-buildflags REQUIRED)
set(_environment "DEB_BUILD_MAINT_OPTIONS=hardening=+all reproducible=-fixfilepath,-fixdebugpath")
if(CMAKE_CROSSCOMPILING)
    list(APPEND _environment DEB_HOST_ARCH=armhf)
endif()
foreach(_flags CPPFLAGS CFLAGS CXXFLAGS LDFLAGS)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -E env ${_environment} "DEB_${_flags}_MAINT_STRIP=-g -O2"
            ${DPKG_BUILDFLAGS} --get ${_flags}
        OUTPUT_VARIABLE _text OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(_${_flags} UNIX_COMMAND "${_text}")
endforeach()
add_compile_options(${_CPPFLAGS} "$<$<COMPILE_LANGUAGE:C>:${_CFLAGS}>"
    "$<$<COMPILE_LANGUAGE:CXX>:${_CXXFLAGS}>")
add_link_options(${_LDFLAGS})
