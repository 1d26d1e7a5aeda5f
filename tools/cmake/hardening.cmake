# Debian's hardening flags (dpkg-buildflags(1)) for all targets defined after this file, because the
# program runs as root. The build type sets the flags for optimisation and debugging; the project
# maps its source path itself.
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
