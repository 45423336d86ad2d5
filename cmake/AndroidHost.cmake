# Debian's own builds of the Android base libraries, as imported targets: android::log,
# android::cutils (here only for str_parms), android::utils (sp, RefBase, String16) and their headers.
#
# The libraries live in a folder of their own that the dynamic linker does not search, so targets
# that link them carry a run path to it. The headers are system headers: their warnings are not ours.

include(GNUInstallDirs)

find_path(ANDROID_INCLUDE_DIR NAMES android/log.h PATH_SUFFIXES android REQUIRED
  DOC "folder that holds android/log.h and cutils/str_parms.h")

set(_android_lib_dirs)
if(CMAKE_LIBRARY_ARCHITECTURE)
  list(APPEND _android_lib_dirs /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)
endif()
list(APPEND _android_lib_dirs /usr/lib/android)

foreach(lib log cutils utils)
  # NO_CACHE-free names: one cache entry a library, so that a user can point at another build of it.
  find_library(ANDROID_${lib}_LIBRARY NAMES ${lib} PATHS ${_android_lib_dirs} NO_DEFAULT_PATH REQUIRED)
  add_library(android::${lib} SHARED IMPORTED)
  set_target_properties(android::${lib} PROPERTIES IMPORTED_LOCATION "${ANDROID_${lib}_LIBRARY}")
  target_include_directories(android::${lib} SYSTEM INTERFACE "${ANDROID_INCLUDE_DIR}")
endforeach()
get_filename_component(ANDROID_LIBRARY_DIR "${ANDROID_log_LIBRARY}" DIRECTORY)
if(CMAKE_SYSROOT)
  # As the system that runs it sees it.
  string(REPLACE "${CMAKE_SYSROOT}/" "/" ANDROID_LIBRARY_DIR "${ANDROID_LIBRARY_DIR}")
endif()
