# The module. Its sources know the platform only by the header paths that a device has.

set(CORVEX_MODULE_SOURCES
  diag/capture_file.cpp
  diag/debug_switches.cpp
  diag/fair_lock.cpp
  diag/lock.cpp
  diag/property_switch.cpp
  direct/avplay_connection.cpp
  direct/avplay_player.cpp
  direct/avplay_session_setup.cpp
  direct/avsync_header.cpp
  direct/data_feed.cpp
  direct/hdo.cpp
  direct/playback_control.cpp
  direct/stream_attributes.cpp
  direct/tunnel_writer.cpp
  hal/arguments.cpp
  hal/buffer_duration.cpp
  hal/capability_lists.cpp
  hal/channel_mask.cpp
  hal/device_controls.cpp
  hal/device_microphones.cpp
  hal/device_open.cpp
  hal/device_parameters.cpp
  hal/in_attributes.cpp
  hal/in_fold.cpp
  hal/in_open.cpp
  hal/in_parameters.cpp
  hal/in_pcm_config.cpp
  hal/in_provider.cpp
  hal/in_read.cpp
  hal/module_descriptor.cpp
  hal/out_attributes.cpp
  hal/out_backend.cpp
  hal/out_direct_controls.cpp
  hal/out_open.cpp
  hal/out_parameters.cpp
  hal/out_pcm_config.cpp
  hal/out_position.cpp
  hal/out_write.cpp
  hal/parsed_parameters.cpp
  hal/stream_frame_size.cpp
  hal/voice_input.cpp
  pcm/hpi.cpp
  pcm/hpo.cpp
  pcm/open_card.cpp
  pcm/published_pcm.cpp
  player_client/event_observer.cpp
  player_client/player_adapter.cpp
  player_client/player_functions.cpp)
list(TRANSFORM CORVEX_MODULE_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)

# corvex_module_objects(TARGET CAPTURE_DIR TINYALSA): the module's objects with their capture files in
# CAPTURE_DIR and compiled against TINYALSA, for a module or to be linked into a test.
function(corvex_module_objects target capture_dir tinyalsa)
  add_library(${target} OBJECT ${CORVEX_MODULE_SOURCES})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${target} PUBLIC "CORVEX_CAPTURE_DIR=\"${capture_dir}\"")
  target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti)
  target_link_libraries(${target} PRIVATE corvex::warnings
    PUBLIC corvex::hardware_headers corvex::cutils corvex::annexk corvex::audioutils corvex::nano
      ${tinyalsa} corvex::zuavplayer corvex::binder android::log android::cutils
      android::utils)
  if(NOT tinyalsa STREQUAL corvex::tinyalsa)
    set(callers ${CORVEX_DEPRECATED_CALLERS})
    list(TRANSFORM callers PREPEND ${PROJECT_SOURCE_DIR}/)
    set_source_files_properties(${callers} PROPERTIES COMPILE_OPTIONS -Wno-deprecated-declarations)
  endif()
endfunction()

# corvex_module(TARGET OBJECTS): audio.primary.corvex.so from such objects, every platform library
# linked dynamically, so that the real one or a fake can take its place without a rebuild.
function(corvex_module target objects)
  add_library(${target} MODULE)
  target_link_libraries(${target} PRIVATE ${objects})
  set(map ${PROJECT_SOURCE_DIR}/hal/audio.primary.corvex.map)
  # It stays loaded: its event observer may be released after the connection that it was for.
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${map} -Wl,-Bsymbolic-functions -Wl,-z,nodelete)
  set_target_properties(${target} PROPERTIES
    PREFIX "" OUTPUT_NAME audio.primary.corvex LINK_DEPENDS ${map})
endfunction()

corvex_module_objects(corvex_module_objects ${CORVEX_CAPTURE_DIR} ${CORVEX_USED_TINYALSA})
corvex_module(audio_primary_corvex corvex_module_objects)
set_target_properties(audio_primary_corvex PROPERTIES
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/hw
  BUILD_WITH_INSTALL_RPATH ON
  INSTALL_RPATH "$ORIGIN/..;${ANDROID_LIBRARY_DIR};${CORVEX_TINYALSA_RUN_PATH}")
install(TARGETS audio_primary_corvex LIBRARY DESTINATION ${CORVEX_LIB_DIR}/hw)
install(FILES ${PROJECT_SOURCE_DIR}/integration/audio_policy_configuration.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/corvex)
