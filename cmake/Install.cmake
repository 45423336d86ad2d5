# What other people's programs need of an installation, beside the libraries: one pkg-config file.
# The headers are in a folder of their own, because a device's packages have the same paths.

set(CORVEX_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/corvex)

# Run paths and the pkg-config file are relative, so that an installed tree may be moved.
foreach(dir BINDIR LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${dir} is '${CMAKE_INSTALL_${dir}}': "
      "give a folder below the prefix, such as lib, and choose the prefix with cmake --install")
  endif()
endforeach()

set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
string(REGEX REPLACE "[^/]+" ".." CORVEX_PREFIX_FROM_PKGCONFIG ${pkgconfig_dir})
# Where a program finds Debian's packages, not where a cross build's copy of them is.
foreach(dir INCLUDE LIBRARY)
  string(REGEX REPLACE "^${CMAKE_SYSROOT}/" "/" CORVEX_ANDROID_${dir}_DIR "${ANDROID_${dir}_DIR}")
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/corvex-audio-hal.pc.in corvex-audio-hal.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/corvex-audio-hal.pc DESTINATION ${pkgconfig_dir})
