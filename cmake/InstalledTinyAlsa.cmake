# corvex_find_installed_tinyalsa(): which tinyalsa is installed, and whether the module can be built with it.
#
# A file that is there says little: releases differ in what they declare, a header may have been left
# behind, a library may be for another word size. So the module's needs are compiled and linked, with
# the module's own flags. Nothing is kept in the cache: each configure looks again.
#
# Sets in the caller's scope:
#   tinyalsa_target   what to link, or empty
#   tinyalsa_text     which one it is, or why none will do: one line for a person
#   tinyalsa_library  its file

# What the module needs, and how the lack of it is called. The code runs after the lines above it.
set(_tinyalsa_needs 0)
macro(_tinyalsa_need code lack)
  set(_tinyalsa_code_${_tinyalsa_needs} "${code}")
  set(_tinyalsa_lack_${_tinyalsa_needs} "${lack}")
  math(EXPR _tinyalsa_needs "${_tinyalsa_needs} + 1")
endmacro()

_tinyalsa_need("" "its tinyalsa/asoundlib.h does not compile")
_tinyalsa_need("config.avail_min = 1;" "its pcm_config has no avail_min (a 1.x release)")
foreach(_member channels rate period_size period_count start_threshold stop_threshold)
  _tinyalsa_need("config.${_member} = 1;" "its pcm_config has no ${_member}")
endforeach()
_tinyalsa_need("config.format = PCM_FORMAT_S16_LE;" "it has no PCM_FORMAT_S16_LE")
_tinyalsa_need("const unsigned flags[] = {PCM_OUT | PCM_MONOTONIC, PCM_IN};
    pcm = pcm_open(flags[0], flags[1], flags[0], &config);" "it has no such pcm_open()")
_tinyalsa_need("if (pcm_is_ready(pcm)) pcm = nullptr;" "it has no such pcm_is_ready()")
_tinyalsa_need("const char* text = pcm_get_error(pcm); if (*text) return 1;" "it has no such pcm_get_error()")
_tinyalsa_need("if (int error = pcm_write(pcm, static_cast<const void*>(bytes), 4U)) return error;"
  "it has no such pcm_write()")
_tinyalsa_need("if (int error = pcm_read(pcm, static_cast<void*>(bytes), 4U)) return error;"
  "it has no such pcm_read()")
_tinyalsa_need("if (int error = pcm_get_htimestamp(pcm, &avail, &time)) return error;"
  "it has no such pcm_get_htimestamp()")
_tinyalsa_need("avail = pcm_frames_to_bytes(pcm, avail);" "it has no such pcm_frames_to_bytes()")
_tinyalsa_need("if (int error = pcm_close(pcm)) return error;" "it has no such pcm_close()")

# _tinyalsa_try(RESULT LOG KIND FIRST LAST TARGET): compiles the needs FIRST to LAST, and links them where
# KIND is EXECUTABLE.
function(_tinyalsa_try result log kind first last target)
  set(code "#include <stddef.h>
#include <time.h>
#include <tinyalsa/asoundlib.h>
int probe(struct pcm* pcm);
int probe([[maybe_unused]] struct pcm* pcm) {
    [[maybe_unused]] struct pcm_config config = {};
    [[maybe_unused]] struct timespec time = {};
    [[maybe_unused]] unsigned avail = 0;
    [[maybe_unused]] char bytes[4] = {};
")
  foreach(need RANGE ${first} ${last})
    string(APPEND code "    { ${_tinyalsa_code_${need}} }\n")
  endforeach()
  string(APPEND code "    return 0;\n}\n")
  # A shared object has to come out, as the module is one, whatever a toolchain file says of tests.
  set(CMAKE_TRY_COMPILE_TARGET_TYPE ${kind})
  set(CMAKE_POSITION_INDEPENDENT_CODE OFF)
  set(link)
  if(kind STREQUAL EXECUTABLE)
    set(link LINK_OPTIONS -shared -Wl,--no-undefined)
  endif()
  set(ENV{LC_ALL} C)  # the linker's words are looked for below
  try_compile(done SOURCE_FROM_CONTENT tinyalsa_probe.cpp "${code}" NO_CACHE
    COMPILE_DEFINITIONS -fPIC ${CORVEX_WARNINGS} -fno-exceptions -fno-rtti -Wno-deprecated-declarations
    ${link} LINK_LIBRARIES ${target} OUTPUT_VARIABLE output)
  set(${result} ${done} PARENT_SCOPE)
  set(${log} "${output}" PARENT_SCOPE)
endfunction()

# _tinyalsa_fault(FAULT TARGET): why the module cannot be built with TARGET; empty when it can.
function(_tinyalsa_fault fault target)
  set(${fault} "" PARENT_SCOPE)
  math(EXPR last "${_tinyalsa_needs} - 1")
  _tinyalsa_try(works log EXECUTABLE 0 ${last} ${target})
  if(works)
    return()
  endif()
  _tinyalsa_try(compiles ignored STATIC_LIBRARY 0 ${last} ${target})
  if(NOT compiles)
    foreach(need RANGE 0 ${last})
      _tinyalsa_try(compiles ignored STATIC_LIBRARY ${need} ${need} ${target})
      if(NOT compiles)
        set(${fault} "${_tinyalsa_lack_${need}}" PARENT_SCOPE)
        return()
      endif()
    endforeach()
  endif()
  if(log MATCHES "undefined (reference to|symbol:) [`']?([a-z_]+)")
    set(${fault} "its library lacks ${CMAKE_MATCH_2}()" PARENT_SCOPE)
  elseif(log MATCHES "\n([^\n]*(relocation|incompatible|wrong format|cannot find|not recognized|error:)[^\n]*)")
    set(${fault} "it does not link into a shared object: ${CMAKE_MATCH_1}" PARENT_SCOPE)
  else()
    set(${fault} "it does not link into a shared object" PARENT_SCOPE)
  endif()
endfunction()

# _tinyalsa_candidate(TARGET INCLUDE_DIRS LIBRARY OPTIONS...): the target, with headers that are not ours
# to warn about.
function(_tinyalsa_candidate target include_dirs library)
  add_library(${target} INTERFACE IMPORTED)
  target_include_directories(${target} INTERFACE ${include_dirs})
  target_link_libraries(${target} INTERFACE ${library} ${ARGN})
endfunction()

# Each of these two sets name, text, library and fault in the caller's scope, and name to nothing where
# there is no such tinyalsa. fault is for what needs no compiler to be seen.
macro(_tinyalsa_by_pkg_config)
  set(name)
  find_package(PkgConfig QUIET)
  if(PKG_CONFIG_FOUND)
    unset(__pkg_config_checked_tinyalsa_pc CACHE)  # or it would answer from the cache
    pkg_check_modules(tinyalsa_pc QUIET tinyalsa)
  endif()
  if(tinyalsa_pc_FOUND)
    set(name corvex_tinyalsa_of_pkg_config)
    pkg_get_variable(pc_folder tinyalsa pcfiledir)
    set(text "${tinyalsa_pc_VERSION} (${pc_folder}/tinyalsa.pc)")
    set(fault)
    # Where pkg-config leaves a folder of the system out, the file's own variables still name it.
    set(folders ${tinyalsa_pc_LIBRARY_DIRS} ${tinyalsa_pc_LIBDIR})
    set(headers ${tinyalsa_pc_INCLUDE_DIRS} ${tinyalsa_pc_INCLUDEDIR})
    list(REMOVE_DUPLICATES folders)
    list(REMOVE_DUPLICATES headers)
    unset(library)
    find_library(library NAMES tinyalsa PATHS ${folders} NO_DEFAULT_PATH NO_CACHE)
    unset(header)
    find_path(header NAMES tinyalsa/asoundlib.h PATHS ${headers} NO_DEFAULT_PATH NO_CACHE)
    if(NOT library)
      set(fault "there is no libtinyalsa in ${folders}")
    elseif(NOT header)
      set(fault "there is no tinyalsa/asoundlib.h in ${headers}")
    else()
      set(text "${tinyalsa_pc_VERSION} (${library})")
      set(others ${tinyalsa_pc_LIBRARIES})
      list(REMOVE_ITEM others tinyalsa)
      _tinyalsa_candidate(${name} "${header}" ${library} ${others} ${tinyalsa_pc_LDFLAGS_OTHER})
      target_link_directories(${name} INTERFACE ${tinyalsa_pc_LIBRARY_DIRS})
      target_compile_options(${name} INTERFACE ${tinyalsa_pc_CFLAGS_OTHER})
    endif()
  endif()
endmacro()

macro(_tinyalsa_by_header)
  set(name)
  unset(header)
  find_path(header NAMES tinyalsa/asoundlib.h NO_CACHE)
  cmake_path(NORMAL_PATH header)
  string(REGEX REPLACE "/$" "" header "${header}")
  if(header AND NOT header IN_LIST seen)
    set(name corvex_tinyalsa_of_header)
    set(fault)
    # A library of another folder would be that of another installation.
    get_filename_component(prefix "${header}" DIRECTORY)
    unset(library)
    find_library(library NAMES tinyalsa NO_CACHE NO_DEFAULT_PATH
      PATHS ${prefix}/lib/${CMAKE_LIBRARY_ARCHITECTURE} ${prefix}/lib ${prefix}/lib64)
    if(library)
      set(text "of unknown version (${library})")
      _tinyalsa_candidate(${name} "${header}" ${library})
    else()
      set(text "header (${header}/tinyalsa/asoundlib.h)")
      set(fault "there is no libtinyalsa in ${prefix}/lib")
    endif()
  endif()
endmacro()

function(corvex_find_installed_tinyalsa)
  set(faults "")
  set(seen)
  foreach(way pkg_config header)
    if(way STREQUAL pkg_config)
      _tinyalsa_by_pkg_config()
    else()
      _tinyalsa_by_header()
    endif()
    if(NOT name)
      continue()
    endif()
    set(seen "${headers}")
    if(NOT fault)
      _tinyalsa_fault(fault ${name})
    endif()
    if(NOT fault)
      set(tinyalsa_target ${name} PARENT_SCOPE)
      set(tinyalsa_text "${text}" PARENT_SCOPE)
      set(tinyalsa_library "${library}" PARENT_SCOPE)
      return()
    endif()
    if(faults)
      string(APPEND faults "; ")
    endif()
    string(APPEND faults "${text} is passed over: ${fault}")
  endforeach()
  if(NOT faults)
    set(faults "none is installed")
  endif()
  set(tinyalsa_target "" PARENT_SCOPE)
  set(tinyalsa_text "${faults}" PARENT_SCOPE)
  set(tinyalsa_library "" PARENT_SCOPE)
endfunction()

# corvex_run_path_of(VARIABLE LIBRARY): the folder in which a program has to look for LIBRARY at run
# time; empty for a static library and where the dynamic linker looks by itself.
function(corvex_run_path_of variable library)
  set(${variable} "" PARENT_SCOPE)
  get_filename_component(folder "${library}" DIRECTORY)
  get_filename_component(real_folder "${folder}" REALPATH)
  if(library MATCHES "\\.a$")
    return()
  endif()
  foreach(dir IN LISTS CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
    get_filename_component(real_dir "${dir}" REALPATH)
    if(real_dir STREQUAL real_folder)
      return()
    endif()
  endforeach()
  if(NOT CMAKE_CROSSCOMPILING)
    # Folders of the system's own configuration, such as /usr/local/lib, once ldconfig has seen them.
    find_program(ldconfig NAMES ldconfig PATHS /sbin /usr/sbin NO_CACHE)
    execute_process(COMMAND ${ldconfig} -p OUTPUT_VARIABLE known ERROR_QUIET)
    string(FIND "${known}" " => ${folder}/libtinyalsa." at)
    if(NOT at EQUAL -1)
      return()
    endif()
  endif()
  if(CMAKE_SYSROOT)
    string(REGEX REPLACE "^${CMAKE_SYSROOT}/" "/" folder "${folder}")
  endif()
  set(${variable} "${folder}" PARENT_SCOPE)
endfunction()
