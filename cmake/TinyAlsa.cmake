# Which tinyalsa the module is built with: an installed one that will do, else platform/libtinyalsa.
#
#   corvex::tinyalsa        platform/libtinyalsa: where the module uses it, and for the tests always
#   CORVEX_USED_TINYALSA    the target that the module uses
#   CORVEX_TINYALSA_IS_OWN  whether that is corvex::tinyalsa
#   CORVEX_TINYALSA_RUN_PATH  where the module has to look for it at run time; may be empty

include(${CMAKE_CURRENT_LIST_DIR}/InstalledTinyAlsa.cmake)

# They call pcm_read() and pcm_write(), which a 2.x marks deprecated and whose answers we need.
set(CORVEX_DEPRECATED_CALLERS hal/in_provider.cpp pcm/hpi.cpp pcm/hpo.cpp)

set(CORVEX_TINYALSA auto CACHE STRING
  "tinyalsa of the module: auto (an installed one that will do, else our own), system or own")
set_property(CACHE CORVEX_TINYALSA PROPERTY STRINGS auto system own)
if(NOT CORVEX_TINYALSA MATCHES "^(auto|system|own)$")
  message(FATAL_ERROR "CORVEX_TINYALSA is '${CORVEX_TINYALSA}': give auto, system or own.")
endif()

set(tinyalsa_target)
if(CORVEX_TINYALSA STREQUAL own)
  message(STATUS "tinyalsa: platform/libtinyalsa, as asked for")
else()
  corvex_find_installed_tinyalsa()
  if(tinyalsa_target)
    message(STATUS "tinyalsa: ${tinyalsa_text}")
  elseif(CORVEX_TINYALSA STREQUAL system)
    # Indented, so that CMake leaves the line in one piece.
    message(FATAL_ERROR " tinyalsa: ${tinyalsa_text}\n"
      " Install Android 9's or a 2.x, name its folder in CMAKE_PREFIX_PATH or that of its tinyalsa.pc\n"
      " in PKG_CONFIG_PATH, or give -DCORVEX_TINYALSA=auto to build platform/libtinyalsa.")
  else()
    message(STATUS "tinyalsa: ${tinyalsa_text}; building platform/libtinyalsa")
  endif()
endif()

if(tinyalsa_target)
  set(CORVEX_TINYALSA_IS_OWN FALSE)
  set(CORVEX_USED_TINYALSA ${tinyalsa_target})
  corvex_run_path_of(CORVEX_TINYALSA_RUN_PATH "${tinyalsa_library}")
  # An earlier build or installation may have left ours where the module looks first.
  file(REMOVE ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/libtinyalsa.so)
  install(CODE
    "file(REMOVE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CORVEX_LIB_DIR}/libtinyalsa.so\")")
  if(CORVEX_BUILD_TESTS)
    # For the tests that play into WAV files, which ours alone does: under a name of its own, so that
    # one process can hold both, and not installed.
    add_subdirectory(${PROJECT_SOURCE_DIR}/platform/libtinyalsa
      ${PROJECT_BINARY_DIR}/platform/libtinyalsa EXCLUDE_FROM_ALL)
    set_target_properties(corvex_tinyalsa PROPERTIES OUTPUT_NAME own_tinyalsa)
  endif()
else()
  set(CORVEX_TINYALSA_IS_OWN TRUE)
  set(CORVEX_USED_TINYALSA corvex::tinyalsa)
  set(CORVEX_TINYALSA_RUN_PATH "")
  add_subdirectory(${PROJECT_SOURCE_DIR}/platform/libtinyalsa
    ${PROJECT_BINARY_DIR}/platform/libtinyalsa)
endif()
