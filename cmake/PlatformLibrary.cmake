# corvex_platform_library(NAME SOURCES... [LINK libs...] [PRIVATE_LINK libs...])
#
# A stand-in for a device's shared library: lib<NAME>.so with the device's file name as its soname,
# so that the real library or a test's fake takes its place without a rebuild. Its public headers
# are in include/ beside the caller and are installed with it. The target is corvex::<NAME>.

function(corvex_platform_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK;PRIVATE_LINK")
  add_library(corvex_${name} SHARED ${arg_SOURCES})
  add_library(corvex::${name} ALIAS corvex_${name})
  target_include_directories(corvex_${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/include)
  target_link_libraries(corvex_${name} PUBLIC ${arg_LINK}
    PRIVATE ${arg_PRIVATE_LINK} corvex::warnings)
  set_target_properties(corvex_${name} PROPERTIES
    OUTPUT_NAME ${name}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "$ORIGIN;${ANDROID_LIBRARY_DIR}")
  install(TARGETS corvex_${name} LIBRARY DESTINATION ${CORVEX_LIB_DIR})
  install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/include/ DESTINATION ${CORVEX_INCLUDE_DIR}
    FILES_MATCHING PATTERN "*.h")
endfunction()
