# Our own library over alsa-lib, also where the module uses an installed one.
find_package(Threads REQUIRED)

corvex_test(tinyalsa_wav_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/tinyalsa_wav_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/tinyalsa_wav_capture_test.cpp
  LINK corvex::tinyalsa PkgConfig::SNDFILE Threads::Threads)

# Not linked with the library: it loads and unloads it.
corvex_test(tinyalsa_reload_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/tinyalsa_reload_test.cpp
  LINK ${CMAKE_DL_LIBS})
target_include_directories(tinyalsa_reload_test
  PRIVATE $<TARGET_PROPERTY:corvex_tinyalsa,INTERFACE_INCLUDE_DIRECTORIES>)
target_compile_definitions(tinyalsa_reload_test
  PRIVATE TINYALSA_LIBRARY="$<TARGET_FILE:corvex_tinyalsa>")
add_dependencies(tinyalsa_reload_test corvex_tinyalsa)

# The library's own sources over a fake alsa-lib, for what only a failing card shows.
get_target_property(tinyalsa_dir corvex_tinyalsa SOURCE_DIR)
get_target_property(tinyalsa_sources corvex_tinyalsa SOURCES)
list(TRANSFORM tinyalsa_sources PREPEND ${tinyalsa_dir}/)
corvex_test(tinyalsa_card_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/tinyalsa_fake_alsa.cpp
          ${CMAKE_CURRENT_LIST_DIR}/tinyalsa_open_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/tinyalsa_transfer_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/tinyalsa_pace_test.cpp
          ${log_recorder}
          ${tinyalsa_sources}
  LINK PkgConfig::SNDFILE android::log)
target_include_directories(tinyalsa_card_test PRIVATE ${tinyalsa_dir} ${tinyalsa_dir}/include)
