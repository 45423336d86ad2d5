# Headers, loader, properties, bounds-checked functions, sample rates, voice input.

find_package(Threads REQUIRED)
set(log_recorder ${CMAKE_CURRENT_LIST_DIR}/../support/log_recorder.cpp)

corvex_test(abi_test SOURCES abi_test.cpp LINK corvex::hardware_headers corvex::audioutils)

corvex_test(properties_test SOURCES properties_test.cpp property_file_test.cpp ${log_recorder}
  LINK corvex::cutils android::log Threads::Threads)

corvex_test(annexk_test SOURCES annexk_test.cpp LINK corvex::annexk)

corvex_test(resampler_test SOURCES resampler_test.cpp LINK corvex::audioutils)

corvex_test(nano_test SOURCES nano_test.cpp ${log_recorder}
  LINK corvex::nano corvex::hardware_headers android::log)

# corvex_fake_module(NAME DEFINITIONS...): fake_modules/NAME.so, out of the loader's own folders.
function(corvex_fake_module name)
  add_library(fake_module_${name} MODULE fake_modules/fake_module.cpp)
  target_link_libraries(fake_module_${name} PRIVATE corvex::hardware_headers corvex::warnings)
  target_compile_definitions(fake_module_${name} PRIVATE ${ARGN})
  set_target_properties(fake_module_${name} PROPERTIES
    PREFIX "" OUTPUT_NAME ${name}
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/fake_modules)
  add_dependencies(loader_test fake_module_${name})
endfunction()

corvex_test(loader_test SOURCES loader_test.cpp ${log_recorder}
  LINK corvex::hardware corvex::cutils android::log Threads::Threads ${CMAKE_DL_LIBS})
target_compile_definitions(loader_test PRIVATE
  FAKE_MODULE_DIR="${CMAKE_CURRENT_BINARY_DIR}/fake_modules")
corvex_fake_module(good FAKE_SYMBOL=HMI FAKE_ID="audio")
corvex_fake_module(wrong_id FAKE_SYMBOL=HMI FAKE_ID="lights")
corvex_fake_module(null_id FAKE_SYMBOL=HMI FAKE_ID=nullptr)
corvex_fake_module(wrong_tag FAKE_SYMBOL=HMI FAKE_ID="audio" FAKE_TAG=0x12345678)
corvex_fake_module(no_descriptor FAKE_SYMBOL=NOT_HMI FAKE_ID="audio")
corvex_fake_module(unresolved FAKE_SYMBOL=HMI FAKE_ID="audio" FAKE_UNRESOLVED)
target_link_options(fake_module_unresolved PRIVATE -Wl,-z,undefs -Wl,-z,lazy)

set(platform_dir ${CMAKE_CURRENT_SOURCE_DIR}/../../platform)

# Public headers compile alone, in C and in older C++ too.
foreach(header
    libannexk/include/annexk/annexk.h
    libaudioutils/include/audio_utils/resampler.h
    libcutils/include/cutils/properties.h
    libcutils/include/cutils/property_overrides.h
    libhardware/include/hardware/audio.h
    libhardware/include/hardware/audio_effect.h
    libhardware/include/hardware/hardware.h
    libhardware/include/hardware/module_file.h
    libhardware/include/system/audio-base-utils.h
    libhardware/include/system/audio-base.h
    libhardware/include/system/audio-channels.h
    libhardware/include/system/audio-devices.h
    libhardware/include/system/audio-formats.h
    libhardware/include/system/audio-masks.h
    libhardware/include/system/audio-parameters.h
    libhardware/include/system/audio.h
    libnano/include/nano/nano.h)
  foreach(language c11 c++11)
    string(REGEX REPLACE "[0-9]+" "" compiler_language ${language})
    add_test(NAME HeaderIs_${language}.${header}
      COMMAND ${CMAKE_CXX_COMPILER} -x ${compiler_language} -std=${language}
        -Wall -Wextra -Wconversion -Werror -fsyntax-only
        -I${platform_dir}/libhardware/include -isystem ${ANDROID_INCLUDE_DIR}
        -include ${platform_dir}/${header} /dev/null)
  endforeach()
endforeach()
