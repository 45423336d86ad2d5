# corvex_program(TARGET): an executable that other programs start by its path, which is
# $<TARGET_PROPERTY:TARGET,CORVEX_PROGRAM>.
#
# A build for another processor puts a script there that starts the executable, in a folder of its
# own beside, under the emulator. So who starts it need not know; and a program that looks for another
# one beside itself finds the script in PATH, since no other executable is in that folder.

function(corvex_program target)
  get_target_property(folder ${target} RUNTIME_OUTPUT_DIRECTORY)
  set(program ${folder}/${target})
  set_target_properties(${target} PROPERTIES CORVEX_PROGRAM ${program})
  if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
    return()
  endif()
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${folder}/emulated/${target} BUILD_WITH_INSTALL_RPATH OFF)
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
  file(GENERATE OUTPUT ${program} CONTENT
"#!/bin/sh
PATH='${folder}':$PATH exec '${emulator}' '$<TARGET_FILE:${target}>' \"$@\"
"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endfunction()
