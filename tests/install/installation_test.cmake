# Installs into a staging folder, moves the tree to another place, and there builds and runs programs
# that know of it what its pkg-config file says.

function(run result)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY "${SCRATCH}"
    OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message("${command}\n${output}${errors}")
    message(FATAL_ERROR "the command above ended with ${status}")
  endif()
  set(${result} "${output}" PARENT_SCOPE)
endfunction()

function(expect what is must_be)
  if(NOT is STREQUAL must_be)
    message(FATAL_ERROR "${what} is '${is}', not '${must_be}'")
  endif()
endfunction()

file(REMOVE_RECURSE "${SCRATCH}")
file(MAKE_DIRECTORY "${SCRATCH}/services")
set(ENV{DESTDIR} "${SCRATCH}/stage")
run(ignored ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix /opt/corvex)
unset(ENV{DESTDIR})
set(tree "${SCRATCH}/another place")
file(RENAME "${SCRATCH}/stage/opt/corvex" "${tree}")

# Nothing of this machine or of the caller's shell but the installed tree.
set(ENV{PKG_CONFIG_PATH} "${tree}/${LIB_DIR}/pkgconfig")
foreach(variable PKG_CONFIG_SYSROOT_DIR PKG_CONFIG_LIBDIR CORVEX_MODULE_PATH LD_LIBRARY_PATH)
  unset(ENV{${variable}})
endforeach()
set(ENV{CORVEX_PROPERTY_FILE} "${SCRATCH}/properties")
# No player service is there to be waited for.
set(ENV{CORVEX_BINDER_DIR} "${SCRATCH}/services")
set(ENV{CORVEX_BINDER_WAIT_MS} 0)

run(cflags ${PKG_CONFIG} --cflags corvex-audio-hal)
run(libs ${PKG_CONFIG} --libs corvex-audio-hal)
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
separate_arguments(cflags UNIX_COMMAND "${cflags}")
separate_arguments(libs UNIX_COMMAND "${libs}")
if(EMULATOR)
  # The linker of another processor looks for run paths in that one's files, where the tree is not.
  list(APPEND libs "-Wl,-rpath-link,${tree}/${LIB_DIR}/corvex")
endif()
set(warnings -Wall -Wextra -Wconversion -Werror)

run(ignored ${COMPILER} ${flags} -x c -std=c99 ${warnings} ${cflags}
  ${CMAKE_CURRENT_LIST_DIR}/play.c -x none -o play ${libs})
run(played ${EMULATOR} "${SCRATCH}/play")
expect("what the C program opened" "${played}" "48000 Hz, 2 channels, 4 bytes a frame\n")

# Another library of the platform: its name, as on a device.
run(ignored ${COMPILER} ${flags} -std=c++11 ${warnings} ${cflags}
  ${CMAKE_CURRENT_LIST_DIR}/record.cpp -o record ${libs} -lcutils)
run(recorded ${EMULATOR} "${SCRATCH}/record")
expect("what the C++ program opened" "${recorded}" "audio: 16000 Hz, 2 bytes a frame\n")
if(NOT EXISTS "${SCRATCH}/properties")
  message(FATAL_ERROR "the C++ program's property_set() is not the installed library's")
endif()

# Headers find each other where they are installed.
file(GLOB_RECURSE headers RELATIVE "${tree}/include/corvex" "${tree}/include/corvex/*.h")
list(TRANSFORM headers REPLACE ".+" "#include <\\0>")
list(JOIN headers "\n" includes)
file(WRITE "${SCRATCH}/headers.cpp" "${includes}\n")
run(ignored ${COMPILER} ${flags} -std=c++17 -Wall -Wextra -Werror ${cflags} -fsyntax-only headers.cpp)

file(REMOVE_RECURSE "${SCRATCH}")
