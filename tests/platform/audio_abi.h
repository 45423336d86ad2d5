// Layouts and constants that modules and frameworks are built against in binary form: one wrong
// number here and a module's table is called one slot off. Checked by the compiler.
//
//   STRUCTURE(type, bytes)  MEMBER(type, member, offset, bytes)  CONSTANT(name, 32-bit value)
#pragma once

#include <cstddef>
#include <cstdint>

#include <hardware/audio.h>
#include <hardware/hardware.h>
#include <system/audio.h>

#define STRUCTURE(type, bytes) static_assert(sizeof(type) == (bytes), #type)
#define MEMBER(type, member, offset, bytes)                                              \
    static_assert(offsetof(type, member) == (offset) && sizeof(type::member) == (bytes), \
                  #type "." #member)
#define CONSTANT(name, value) static_assert(static_cast<uint32_t>(name) == (value), #name)

#if defined(__LP64__)

STRUCTURE(hw_module_t, 248);
MEMBER(hw_module_t, tag, 0, 4);
MEMBER(hw_module_t, module_api_version, 4, 2);
MEMBER(hw_module_t, hal_api_version, 6, 2);
MEMBER(hw_module_t, id, 8, 8);
MEMBER(hw_module_t, name, 16, 8);
MEMBER(hw_module_t, author, 24, 8);
MEMBER(hw_module_t, methods, 32, 8);
MEMBER(hw_module_t, dso, 40, 8);
MEMBER(hw_module_t, reserved, 48, 200);

STRUCTURE(hw_module_methods_t, 8);
MEMBER(hw_module_methods_t, open, 0, 8);

STRUCTURE(hw_device_t, 120);
MEMBER(hw_device_t, tag, 0, 4);
MEMBER(hw_device_t, version, 4, 4);
MEMBER(hw_device_t, module, 8, 8);
MEMBER(hw_device_t, reserved, 16, 96);
MEMBER(hw_device_t, close, 112, 8);

STRUCTURE(audio_stream, 112);
MEMBER(audio_stream, get_sample_rate, 0, 8);
MEMBER(audio_stream, set_sample_rate, 8, 8);
MEMBER(audio_stream, get_buffer_size, 16, 8);
MEMBER(audio_stream, get_channels, 24, 8);
MEMBER(audio_stream, get_format, 32, 8);
MEMBER(audio_stream, set_format, 40, 8);
MEMBER(audio_stream, standby, 48, 8);
MEMBER(audio_stream, dump, 56, 8);
MEMBER(audio_stream, get_device, 64, 8);
MEMBER(audio_stream, set_device, 72, 8);
MEMBER(audio_stream, set_parameters, 80, 8);
MEMBER(audio_stream, get_parameters, 88, 8);
MEMBER(audio_stream, add_audio_effect, 96, 8);
MEMBER(audio_stream, remove_audio_effect, 104, 8);

STRUCTURE(audio_stream_out, 240);
MEMBER(audio_stream_out, common, 0, 112);
MEMBER(audio_stream_out, get_latency, 112, 8);
MEMBER(audio_stream_out, set_volume, 120, 8);
MEMBER(audio_stream_out, write, 128, 8);
MEMBER(audio_stream_out, get_render_position, 136, 8);
MEMBER(audio_stream_out, get_next_write_timestamp, 144, 8);
MEMBER(audio_stream_out, set_callback, 152, 8);
MEMBER(audio_stream_out, pause, 160, 8);
MEMBER(audio_stream_out, resume, 168, 8);
MEMBER(audio_stream_out, drain, 176, 8);
MEMBER(audio_stream_out, flush, 184, 8);
MEMBER(audio_stream_out, get_presentation_position, 192, 8);
MEMBER(audio_stream_out, start, 200, 8);
MEMBER(audio_stream_out, stop, 208, 8);
MEMBER(audio_stream_out, create_mmap_buffer, 216, 8);
MEMBER(audio_stream_out, get_mmap_position, 224, 8);
MEMBER(audio_stream_out, update_source_metadata, 232, 8);

STRUCTURE(audio_stream_in, 192);
MEMBER(audio_stream_in, common, 0, 112);
MEMBER(audio_stream_in, set_gain, 112, 8);
MEMBER(audio_stream_in, read, 120, 8);
MEMBER(audio_stream_in, get_input_frames_lost, 128, 8);
MEMBER(audio_stream_in, get_capture_position, 136, 8);
MEMBER(audio_stream_in, start, 144, 8);
MEMBER(audio_stream_in, stop, 152, 8);
MEMBER(audio_stream_in, create_mmap_buffer, 160, 8);
MEMBER(audio_stream_in, get_mmap_position, 168, 8);
MEMBER(audio_stream_in, get_active_microphones, 176, 8);
MEMBER(audio_stream_in, update_sink_metadata, 184, 8);

STRUCTURE(audio_hw_device, 304);
MEMBER(audio_hw_device, common, 0, 120);
MEMBER(audio_hw_device, get_supported_devices, 120, 8);
MEMBER(audio_hw_device, init_check, 128, 8);
MEMBER(audio_hw_device, set_voice_volume, 136, 8);
MEMBER(audio_hw_device, set_master_volume, 144, 8);
MEMBER(audio_hw_device, get_master_volume, 152, 8);
MEMBER(audio_hw_device, set_mode, 160, 8);
MEMBER(audio_hw_device, set_mic_mute, 168, 8);
MEMBER(audio_hw_device, get_mic_mute, 176, 8);
MEMBER(audio_hw_device, set_parameters, 184, 8);
MEMBER(audio_hw_device, get_parameters, 192, 8);
MEMBER(audio_hw_device, get_input_buffer_size, 200, 8);
MEMBER(audio_hw_device, open_output_stream, 208, 8);
MEMBER(audio_hw_device, close_output_stream, 216, 8);
MEMBER(audio_hw_device, open_input_stream, 224, 8);
MEMBER(audio_hw_device, close_input_stream, 232, 8);
MEMBER(audio_hw_device, get_microphones, 240, 8);
MEMBER(audio_hw_device, dump, 248, 8);
MEMBER(audio_hw_device, set_master_mute, 256, 8);
MEMBER(audio_hw_device, get_master_mute, 264, 8);
MEMBER(audio_hw_device, create_audio_patch, 272, 8);
MEMBER(audio_hw_device, release_audio_patch, 280, 8);
MEMBER(audio_hw_device, get_audio_port, 288, 8);
MEMBER(audio_hw_device, set_audio_port_config, 296, 8);

STRUCTURE(audio_config, 72);
MEMBER(audio_config, sample_rate, 0, 4);
MEMBER(audio_config, channel_mask, 4, 4);
MEMBER(audio_config, format, 8, 4);
MEMBER(audio_config, offload_info, 16, 48);
MEMBER(audio_config, frame_count, 64, 4);

STRUCTURE(audio_offload_info_t, 48);
MEMBER(audio_offload_info_t, version, 0, 2);
MEMBER(audio_offload_info_t, size, 2, 2);
MEMBER(audio_offload_info_t, sample_rate, 4, 4);
MEMBER(audio_offload_info_t, channel_mask, 8, 4);
MEMBER(audio_offload_info_t, format, 12, 4);
MEMBER(audio_offload_info_t, stream_type, 16, 4);
MEMBER(audio_offload_info_t, bit_rate, 20, 4);
MEMBER(audio_offload_info_t, duration_us, 24, 8);
MEMBER(audio_offload_info_t, has_video, 32, 1);
MEMBER(audio_offload_info_t, is_streaming, 33, 1);
MEMBER(audio_offload_info_t, bit_width, 36, 4);
MEMBER(audio_offload_info_t, offload_buffer_size, 40, 4);
MEMBER(audio_offload_info_t, usage, 44, 4);

STRUCTURE(audio_microphone_characteristic_t, 2296);
MEMBER(audio_microphone_characteristic_t, device_id, 0, 32);
MEMBER(audio_microphone_characteristic_t, id, 32, 4);
MEMBER(audio_microphone_characteristic_t, device, 36, 4);
MEMBER(audio_microphone_characteristic_t, address, 40, 32);
MEMBER(audio_microphone_characteristic_t, channel_mapping, 72, 120);
MEMBER(audio_microphone_characteristic_t, location, 192, 4);
MEMBER(audio_microphone_characteristic_t, group, 196, 4);
MEMBER(audio_microphone_characteristic_t, index_in_the_group, 200, 4);
MEMBER(audio_microphone_characteristic_t, sensitivity, 204, 4);
MEMBER(audio_microphone_characteristic_t, max_spl, 208, 4);
MEMBER(audio_microphone_characteristic_t, min_spl, 212, 4);
MEMBER(audio_microphone_characteristic_t, directionality, 216, 4);
MEMBER(audio_microphone_characteristic_t, num_frequency_responses, 220, 4);
MEMBER(audio_microphone_characteristic_t, frequency_responses, 224, 2048);
MEMBER(audio_microphone_characteristic_t, geometric_location, 2272, 12);
MEMBER(audio_microphone_characteristic_t, orientation, 2284, 12);

STRUCTURE(audio_microphone_coordinate, 12);
MEMBER(audio_microphone_coordinate, x, 0, 4);
MEMBER(audio_microphone_coordinate, y, 4, 4);
MEMBER(audio_microphone_coordinate, z, 8, 4);

#else

// Tables of functions have one pointer a slot; the rest follows from the members' own types.
constexpr size_t kSlot = sizeof(void*);
STRUCTURE(hw_module_methods_t, kSlot);
STRUCTURE(hw_module_t, 8 + 5 * kSlot + 25 * sizeof(uint32_t));
STRUCTURE(hw_device_t, 8 + 2 * kSlot + 12 * sizeof(uint32_t));
STRUCTURE(audio_stream, 14 * kSlot);
STRUCTURE(audio_stream_out, (14 + 16) * kSlot);
STRUCTURE(audio_stream_in, (14 + 10) * kSlot);
STRUCTURE(audio_hw_device, sizeof(hw_device_t) + 23 * kSlot);
MEMBER(audio_stream, remove_audio_effect, 13 * kSlot, kSlot);
MEMBER(audio_stream_out, write, (14 + 2) * kSlot, kSlot);
MEMBER(audio_stream_out, get_presentation_position, (14 + 10) * kSlot, kSlot);
MEMBER(audio_stream_in, read, (14 + 1) * kSlot, kSlot);
MEMBER(audio_hw_device, open_output_stream, sizeof(hw_device_t) + 11 * kSlot, kSlot);
MEMBER(audio_hw_device, open_input_stream, sizeof(hw_device_t) + 13 * kSlot, kSlot);
MEMBER(audio_hw_device, set_audio_port_config, sizeof(hw_device_t) + 22 * kSlot, kSlot);
STRUCTURE(audio_offload_info_t, 48);
STRUCTURE(audio_microphone_characteristic_t, 2296);

#endif

CONSTANT(HARDWARE_MODULE_TAG, 0x48574D54);
CONSTANT(HARDWARE_DEVICE_TAG, 0x48574454);
CONSTANT(HARDWARE_HAL_API_VERSION, 0x100);
CONSTANT(AUDIO_MODULE_API_VERSION_0_1, 0x1);
CONSTANT(AUDIO_DEVICE_API_VERSION_2_0, 0x200);
CONSTANT(AUDIO_FORMAT_INVALID, 0xFFFFFFFF);
CONSTANT(AUDIO_FORMAT_DEFAULT, 0x0);
CONSTANT(AUDIO_FORMAT_PCM, 0x0);
CONSTANT(AUDIO_FORMAT_MP3, 0x1000000);
CONSTANT(AUDIO_FORMAT_AMR_NB, 0x2000000);
CONSTANT(AUDIO_FORMAT_AAC, 0x4000000);
CONSTANT(AUDIO_FORMAT_VORBIS, 0x7000000);
CONSTANT(AUDIO_FORMAT_OPUS, 0x8000000);
CONSTANT(AUDIO_FORMAT_AC3, 0x9000000);
CONSTANT(AUDIO_FORMAT_E_AC3, 0xA000000);
CONSTANT(AUDIO_FORMAT_DTS, 0xB000000);
CONSTANT(AUDIO_FORMAT_DTS_HD, 0xC000000);
CONSTANT(AUDIO_FORMAT_IEC61937, 0xD000000);
CONSTANT(AUDIO_FORMAT_DOLBY_TRUEHD, 0xE000000);
CONSTANT(AUDIO_FORMAT_AC4, 0x22000000);
CONSTANT(AUDIO_FORMAT_MAIN_MASK, 0xFF000000);
CONSTANT(AUDIO_FORMAT_SUB_MASK, 0xFFFFFF);
CONSTANT(AUDIO_FORMAT_PCM_16_BIT, 0x1);
CONSTANT(AUDIO_FORMAT_PCM_8_BIT, 0x2);
CONSTANT(AUDIO_FORMAT_PCM_32_BIT, 0x3);
CONSTANT(AUDIO_FORMAT_PCM_8_24_BIT, 0x4);
CONSTANT(AUDIO_FORMAT_PCM_FLOAT, 0x5);
CONSTANT(AUDIO_FORMAT_PCM_24_BIT_PACKED, 0x6);
CONSTANT(AUDIO_CHANNEL_NONE, 0x0);
CONSTANT(AUDIO_CHANNEL_INVALID, 0xC0000000);
CONSTANT(AUDIO_CHANNEL_REPRESENTATION_POSITION, 0x0);
CONSTANT(AUDIO_CHANNEL_REPRESENTATION_INDEX, 0x2);
CONSTANT(AUDIO_CHANNEL_COUNT_MAX, 0x1E);
CONSTANT(AUDIO_CHANNEL_OUT_MONO, 0x1);
CONSTANT(AUDIO_CHANNEL_OUT_STEREO, 0x3);
CONSTANT(AUDIO_CHANNEL_OUT_5POINT1, 0x3F);
CONSTANT(AUDIO_CHANNEL_OUT_7POINT1, 0x63F);
CONSTANT(AUDIO_CHANNEL_IN_MONO, 0x10);
CONSTANT(AUDIO_CHANNEL_IN_STEREO, 0xC);
CONSTANT(AUDIO_CHANNEL_IN_FRONT_BACK, 0x30);
CONSTANT(AUDIO_CHANNEL_IN_ALL, 0x77FFFC);
CONSTANT(AUDIO_CHANNEL_OUT_ALL, 0xFFFFF);
CONSTANT(AUDIO_CHANNEL_INDEX_MASK_1, 0x80000001);
CONSTANT(AUDIO_CHANNEL_INDEX_MASK_2, 0x80000003);
CONSTANT(AUDIO_CHANNEL_INDEX_MASK_8, 0x800000FF);
CONSTANT(AUDIO_OUTPUT_FLAG_NONE, 0x0);
CONSTANT(AUDIO_OUTPUT_FLAG_DIRECT, 0x1);
CONSTANT(AUDIO_OUTPUT_FLAG_PRIMARY, 0x2);
CONSTANT(AUDIO_OUTPUT_FLAG_FAST, 0x4);
CONSTANT(AUDIO_OUTPUT_FLAG_DEEP_BUFFER, 0x8);
CONSTANT(AUDIO_OUTPUT_FLAG_COMPRESS_OFFLOAD, 0x10);
CONSTANT(AUDIO_OUTPUT_FLAG_NON_BLOCKING, 0x20);
CONSTANT(AUDIO_OUTPUT_FLAG_HW_AV_SYNC, 0x40);
CONSTANT(AUDIO_OUTPUT_FLAG_RAW, 0x100);
CONSTANT(AUDIO_OUTPUT_FLAG_SYNC, 0x200);
CONSTANT(AUDIO_OUTPUT_FLAG_IEC958_NONAUDIO, 0x400);
CONSTANT(AUDIO_INPUT_FLAG_NONE, 0x0);
CONSTANT(AUDIO_INPUT_FLAG_FAST, 0x1);
CONSTANT(AUDIO_INPUT_FLAG_HW_HOTWORD, 0x2);
CONSTANT(AUDIO_INPUT_FLAG_RAW, 0x4);
CONSTANT(AUDIO_SOURCE_DEFAULT, 0x0);
CONSTANT(AUDIO_SOURCE_MIC, 0x1);
CONSTANT(AUDIO_SOURCE_VOICE_RECOGNITION, 0x6);
CONSTANT(AUDIO_SOURCE_VOICE_COMMUNICATION, 0x7);
CONSTANT(AUDIO_DEVICE_OUT_SPEAKER, 0x2);
CONSTANT(AUDIO_DEVICE_OUT_HDMI, 0x400);
CONSTANT(AUDIO_DEVICE_OUT_SPDIF, 0x80000);
CONSTANT(AUDIO_DEVICE_IN_BUILTIN_MIC, 0x80000004);
CONSTANT(AUDIO_DEVICE_BIT_IN, 0x80000000);
CONSTANT(AUDIO_MODE_NORMAL, 0x0);
CONSTANT(AUDIO_MODE_RINGTONE, 0x1);
CONSTANT(AUDIO_MODE_IN_CALL, 0x2);
CONSTANT(AUDIO_MODE_IN_COMMUNICATION, 0x3);
CONSTANT(AUDIO_DRAIN_ALL, 0x0);
CONSTANT(AUDIO_DRAIN_EARLY_NOTIFY, 0x1);
CONSTANT(STREAM_CBK_EVENT_WRITE_READY, 0x0);
CONSTANT(STREAM_CBK_EVENT_DRAIN_READY, 0x1);
CONSTANT(STREAM_CBK_EVENT_ERROR, 0x2);
CONSTANT(AUDIO_MICROPHONE_ID_MAX_LEN, 0x20);
CONSTANT(AUDIO_MICROPHONE_MAX_FREQUENCY_RESPONSES, 0x100);
CONSTANT(AUDIO_DEVICE_MAX_ADDRESS_LEN, 0x20);
CONSTANT(AUDIO_MICROPHONE_LOCATION_UNKNOWN, 0x0);
CONSTANT(AUDIO_MICROPHONE_LOCATION_MAINBODY, 0x1);
CONSTANT(AUDIO_MICROPHONE_DIRECTIONALITY_UNKNOWN, 0x0);
CONSTANT(AUDIO_MICROPHONE_DIRECTIONALITY_OMNI, 0x1);
CONSTANT(AUDIO_MICROPHONE_CHANNEL_MAPPING_UNUSED, 0x0);
CONSTANT(AUDIO_MICROPHONE_CHANNEL_MAPPING_DIRECT, 0x1);

#undef STRUCTURE
#undef MEMBER
#undef CONSTANT
