// Layouts and constants that modules and frameworks are built against in binary form: one wrong
// number here and a module's table is called one slot off. The compiler checks them, and where one
// differs its error names the member or constant.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <type_traits>

#include <audio_utils/resampler.h>
#include <hardware/audio.h>
#include <hardware/hardware.h>
#include <system/audio.h>

void abi_differs(const char* name);  // Defined nowhere, so a call of it is no constant.

constexpr bool abi_is(const char* name, size_t is, size_t must_be) {
    return is == must_be || (abi_differs(name), false);
}
constexpr std::string_view abi_value(const char* text) {
    return text;
}
constexpr float abi_value(float number) {
    return number;
}
constexpr bool abi_all(std::initializer_list<bool>) {
    return true;  // the first one that is not has ended the compilation
}

struct abi_slot {
    const char* name;
    size_t offset, bytes;
};
// A table of functions: one pointer after the other from `first` on, and nothing behind them.
constexpr bool abi_table(size_t first, size_t end, std::initializer_list<abi_slot> slots) {
    for (const abi_slot& slot : slots) {
        abi_is(slot.name, slot.offset, first);
        abi_is(slot.name, slot.bytes, sizeof(void*));
        first += sizeof(void*);
    }
    return abi_is("end of the table", first, end);
}

#define AT(member, offset, bytes) \
    abi_is(#member, offsetof(it, member), (offset)) && abi_is(#member, sizeof(it::member), (bytes))
#define LAYOUT(type, bytes, ...)                                           \
    static_assert([] {                                                     \
        using it = type;                                                   \
        return abi_all({abi_is(#type, sizeof(it), (bytes)), __VA_ARGS__}); \
    }())
#define SLOT(member) abi_slot({#member, offsetof(it, member), sizeof(it::member)})
#define SLOTS(type, first, ...)                                 \
    static_assert([] {                                          \
        using it = type;                                        \
        return abi_table((first), sizeof(type), {__VA_ARGS__}); \
    }())
#define IS(name, value) abi_is(#name, static_cast<uint32_t>(name), (value))
#define EQUAL(name, value) abi_is(#name, abi_value(name) == abi_value(value), true)
#define CONSTANTS(...) static_assert(abi_all({__VA_ARGS__}))
// Functions of exactly this type.
#define FUNCTIONS(type, ...) \
    static_assert(std::initializer_list<std::add_pointer_t<type>>{__VA_ARGS__}.size() != 0)

constexpr size_t word = sizeof(void*);
LAYOUT(hw_module_t, 8 + 30 * word, AT(tag, 0, 4), AT(module_api_version, 4, 2),
       AT(hal_api_version, 6, 2), AT(id, 8, word), AT(name, 8 + word, word),
       AT(author, 8 + 2 * word, word), AT(methods, 8 + 3 * word, word), AT(dso, 8 + 4 * word, word),
       AT(reserved, 8 + 5 * word, 25 * word));
LAYOUT(hw_device_t, 8 + 14 * word, AT(tag, 0, 4), AT(version, 4, 4), AT(module, 8, word),
       AT(reserved, 8 + word, 12 * word), AT(close, 8 + 13 * word, word));
LAYOUT(audio_module, sizeof(hw_module_t), AT(common, 0, sizeof(hw_module_t)));
LAYOUT(audio_config, 72, AT(sample_rate, 0, 4), AT(channel_mask, 4, 4), AT(format, 8, 4),
       AT(offload_info, 16, 48), AT(frame_count, 64, 4));
LAYOUT(audio_offload_info_t, 48, AT(version, 0, 2), AT(size, 2, 2), AT(sample_rate, 4, 4),
       AT(channel_mask, 8, 4), AT(format, 12, 4), AT(stream_type, 16, 4), AT(bit_rate, 20, 4),
       AT(duration_us, 24, 8), AT(has_video, 32, 1), AT(is_streaming, 33, 1), AT(bit_width, 36, 4),
       AT(offload_buffer_size, 40, 4), AT(usage, 44, 4));
LAYOUT(audio_microphone_characteristic_t, 2296, AT(device_id, 0, 32), AT(id, 32, 4),
       AT(device, 36, 4), AT(address, 40, 32), AT(channel_mapping, 72, 120), AT(location, 192, 4),
       AT(group, 196, 4), AT(index_in_the_group, 200, 4), AT(sensitivity, 204, 4),
       AT(max_spl, 208, 4), AT(min_spl, 212, 4), AT(directionality, 216, 4),
       AT(num_frequency_responses, 220, 4), AT(frequency_responses, 224, 2048),
       AT(geometric_location, 2272, 12), AT(orientation, 2284, 12));
LAYOUT(audio_microphone_coordinate, 12, AT(x, 0, 4), AT(y, 4, 4), AT(z, 8, 4));
LAYOUT(audio_config_base, 12, AT(sample_rate, 0, 4), AT(channel_mask, 4, 4), AT(format, 8, 4));
LAYOUT(audio_patch, 6796, AT(id, 0, 4), AT(num_sources, 4, 4), AT(sources, 8, 16 * 212),
       AT(num_sinks, 3400, 4), AT(sinks, 3404, 16 * 212));

SLOTS(resampler_buffer_provider, 0, SLOT(get_next_buffer), SLOT(release_buffer));
SLOTS(resampler_itfe, 0, SLOT(reset), SLOT(resample_from_provider), SLOT(resample_from_input),
      SLOT(delay_ns));
LAYOUT(resampler_buffer, 2 * word, AT(raw, 0, word), AT(i16, 0, word), AT(i8, 0, word),
       AT(frame_count, word, sizeof(size_t)));
SLOTS(hw_module_methods_t, 0, SLOT(open));
SLOTS(audio_stream, 0, SLOT(get_sample_rate), SLOT(set_sample_rate), SLOT(get_buffer_size),
      SLOT(get_channels), SLOT(get_format), SLOT(set_format), SLOT(standby), SLOT(dump),
      SLOT(get_device), SLOT(set_device), SLOT(set_parameters), SLOT(get_parameters),
      SLOT(add_audio_effect), SLOT(remove_audio_effect));
SLOTS(audio_stream_out, sizeof(audio_stream), SLOT(get_latency), SLOT(set_volume), SLOT(write),
      SLOT(get_render_position), SLOT(get_next_write_timestamp), SLOT(set_callback), SLOT(pause),
      SLOT(resume), SLOT(drain), SLOT(flush), SLOT(get_presentation_position), SLOT(start),
      SLOT(stop), SLOT(create_mmap_buffer), SLOT(get_mmap_position), SLOT(update_source_metadata));
SLOTS(audio_stream_in, sizeof(audio_stream), SLOT(set_gain), SLOT(read),
      SLOT(get_input_frames_lost), SLOT(get_capture_position), SLOT(start), SLOT(stop),
      SLOT(create_mmap_buffer), SLOT(get_mmap_position), SLOT(get_active_microphones),
      SLOT(update_sink_metadata));
SLOTS(audio_hw_device, sizeof(hw_device_t), SLOT(get_supported_devices), SLOT(init_check),
      SLOT(set_voice_volume), SLOT(set_master_volume), SLOT(get_master_volume), SLOT(set_mode),
      SLOT(set_mic_mute), SLOT(get_mic_mute), SLOT(set_parameters), SLOT(get_parameters),
      SLOT(get_input_buffer_size), SLOT(open_output_stream), SLOT(close_output_stream),
      SLOT(open_input_stream), SLOT(close_input_stream), SLOT(get_microphones), SLOT(dump),
      SLOT(set_master_mute), SLOT(get_master_mute), SLOT(create_audio_patch),
      SLOT(release_audio_patch), SLOT(get_audio_port), SLOT(set_audio_port_config));

CONSTANTS(IS(HARDWARE_MODULE_TAG, 0x48574D54), IS(HARDWARE_DEVICE_TAG, 0x48574454),
          IS(HARDWARE_HAL_API_VERSION, 0x100), IS(AUDIO_MODULE_API_VERSION_0_1, 0x1),
          IS(AUDIO_DEVICE_API_VERSION_2_0, 0x200));
CONSTANTS(IS(AUDIO_FORMAT_INVALID, 0xFFFFFFFF), IS(AUDIO_FORMAT_DEFAULT, 0x0),
          IS(AUDIO_FORMAT_PCM, 0x0), IS(AUDIO_FORMAT_MP3, 0x1000000),
          IS(AUDIO_FORMAT_AMR_NB, 0x2000000), IS(AUDIO_FORMAT_AAC, 0x4000000),
          IS(AUDIO_FORMAT_VORBIS, 0x7000000), IS(AUDIO_FORMAT_OPUS, 0x8000000),
          IS(AUDIO_FORMAT_AC3, 0x9000000), IS(AUDIO_FORMAT_E_AC3, 0xA000000),
          IS(AUDIO_FORMAT_DTS, 0xB000000), IS(AUDIO_FORMAT_DTS_HD, 0xC000000),
          IS(AUDIO_FORMAT_IEC61937, 0xD000000), IS(AUDIO_FORMAT_DOLBY_TRUEHD, 0xE000000),
          IS(AUDIO_FORMAT_AC4, 0x22000000), IS(AUDIO_FORMAT_MAIN_MASK, 0xFF000000),
          IS(AUDIO_FORMAT_SUB_MASK, 0xFFFFFF), IS(AUDIO_FORMAT_PCM_16_BIT, 0x1),
          IS(AUDIO_FORMAT_PCM_8_BIT, 0x2), IS(AUDIO_FORMAT_PCM_32_BIT, 0x3),
          IS(AUDIO_FORMAT_PCM_8_24_BIT, 0x4), IS(AUDIO_FORMAT_PCM_FLOAT, 0x5),
          IS(AUDIO_FORMAT_PCM_24_BIT_PACKED, 0x6));
CONSTANTS(IS(AUDIO_CHANNEL_NONE, 0x0), IS(AUDIO_CHANNEL_INVALID, 0xC0000000),
          IS(AUDIO_CHANNEL_REPRESENTATION_POSITION, 0x0),
          IS(AUDIO_CHANNEL_REPRESENTATION_INDEX, 0x2), IS(AUDIO_CHANNEL_COUNT_MAX, 0x1E),
          IS(AUDIO_CHANNEL_OUT_MONO, 0x1), IS(AUDIO_CHANNEL_OUT_STEREO, 0x3),
          IS(AUDIO_CHANNEL_OUT_5POINT1, 0x3F), IS(AUDIO_CHANNEL_OUT_7POINT1, 0x63F),
          IS(AUDIO_CHANNEL_IN_MONO, 0x10), IS(AUDIO_CHANNEL_IN_STEREO, 0xC),
          IS(AUDIO_CHANNEL_IN_FRONT_BACK, 0x30), IS(AUDIO_CHANNEL_IN_ALL, 0x77FFFC),
          IS(AUDIO_CHANNEL_OUT_ALL, 0xFFFFF), IS(AUDIO_CHANNEL_INDEX_MASK_1, 0x80000001),
          IS(AUDIO_CHANNEL_INDEX_MASK_2, 0x80000003), IS(AUDIO_CHANNEL_INDEX_MASK_8, 0x800000FF));
CONSTANTS(IS(AUDIO_OUTPUT_FLAG_NONE, 0x0), IS(AUDIO_OUTPUT_FLAG_DIRECT, 0x1),
          IS(AUDIO_OUTPUT_FLAG_PRIMARY, 0x2), IS(AUDIO_OUTPUT_FLAG_FAST, 0x4),
          IS(AUDIO_OUTPUT_FLAG_DEEP_BUFFER, 0x8), IS(AUDIO_OUTPUT_FLAG_COMPRESS_OFFLOAD, 0x10),
          IS(AUDIO_OUTPUT_FLAG_NON_BLOCKING, 0x20), IS(AUDIO_OUTPUT_FLAG_HW_AV_SYNC, 0x40),
          IS(AUDIO_OUTPUT_FLAG_RAW, 0x100), IS(AUDIO_OUTPUT_FLAG_SYNC, 0x200),
          IS(AUDIO_OUTPUT_FLAG_IEC958_NONAUDIO, 0x400), IS(AUDIO_INPUT_FLAG_NONE, 0x0),
          IS(AUDIO_INPUT_FLAG_FAST, 0x1), IS(AUDIO_INPUT_FLAG_HW_HOTWORD, 0x2),
          IS(AUDIO_INPUT_FLAG_RAW, 0x4), IS(AUDIO_SOURCE_DEFAULT, 0x0), IS(AUDIO_SOURCE_MIC, 0x1),
          IS(AUDIO_SOURCE_VOICE_RECOGNITION, 0x6), IS(AUDIO_SOURCE_VOICE_COMMUNICATION, 0x7));
CONSTANTS(IS(AUDIO_DEVICE_OUT_SPEAKER, 0x2), IS(AUDIO_DEVICE_OUT_HDMI, 0x400),
          IS(AUDIO_DEVICE_OUT_SPDIF, 0x80000), IS(AUDIO_DEVICE_IN_BUILTIN_MIC, 0x80000004),
          IS(AUDIO_DEVICE_BIT_IN, 0x80000000));
CONSTANTS(IS(AUDIO_MODE_NORMAL, 0x0), IS(AUDIO_MODE_RINGTONE, 0x1), IS(AUDIO_MODE_IN_CALL, 0x2),
          IS(AUDIO_MODE_IN_COMMUNICATION, 0x3), IS(AUDIO_DRAIN_ALL, 0x0),
          IS(AUDIO_DRAIN_EARLY_NOTIFY, 0x1), IS(STREAM_CBK_EVENT_WRITE_READY, 0x0),
          IS(STREAM_CBK_EVENT_DRAIN_READY, 0x1), IS(STREAM_CBK_EVENT_ERROR, 0x2));
CONSTANTS(IS(AUDIO_MICROPHONE_ID_MAX_LEN, 0x20),
          IS(AUDIO_MICROPHONE_MAX_FREQUENCY_RESPONSES, 0x100),
          IS(AUDIO_DEVICE_MAX_ADDRESS_LEN, 0x20), IS(AUDIO_MICROPHONE_LOCATION_UNKNOWN, 0x0),
          IS(AUDIO_MICROPHONE_LOCATION_MAINBODY, 0x1),
          IS(AUDIO_MICROPHONE_DIRECTIONALITY_UNKNOWN, 0x0),
          IS(AUDIO_MICROPHONE_DIRECTIONALITY_OMNI, 0x1),
          IS(AUDIO_MICROPHONE_CHANNEL_MAPPING_UNUSED, 0x0),
          IS(AUDIO_MICROPHONE_CHANNEL_MAPPING_DIRECT, 0x1));
CONSTANTS(IS(AUDIO_UID_INVALID, 0xFFFFFFFF), IS(AUDIO_ATTRIBUTES_TAGS_MAX_SIZE, 256),
          IS(AUDIO_UNIQUE_ID_ALLOCATE, AUDIO_SESSION_ALLOCATE),
          IS(AUDIO_CHANNEL_REPRESENTATION_LOG2, 2),
          IS(AUDIO_DEVICE_OUT_STUB, AUDIO_DEVICE_OUT_DEFAULT),
          IS(AUDIO_DEVICE_IN_STUB, AUDIO_DEVICE_IN_DEFAULT), IS(AUDIO_PATCH_PORTS_MAX, 16),
          IS(AUDIO_HW_SYNC_INVALID, 0), IS(AUDIO_MICROPHONE_MAX_COUNT, 32),
          IS(FLOAT_NOMINAL_RANGE_HEADROOM * 1e6, 1412538),
          EQUAL(AUDIO_MICROPHONE_SPL_UNKNOWN, -FLT_MAX),
          EQUAL(AUDIO_MICROPHONE_SENSITIVITY_UNKNOWN, -FLT_MAX),
          EQUAL(AUDIO_MICROPHONE_COORDINATE_UNKNOWN, -FLT_MAX));
CONSTANTS(EQUAL(AUDIO_PARAMETER_VALUE_TTY_OFF, "tty_off"),
          EQUAL(AUDIO_PARAMETER_VALUE_TTY_VCO, "tty_vco"),
          EQUAL(AUDIO_PARAMETER_VALUE_TTY_HCO, "tty_hco"),
          EQUAL(AUDIO_PARAMETER_VALUE_TTY_FULL, "tty_full"),
          EQUAL(AUDIO_PARAMETER_VALUE_HAC_ON, "ON"), EQUAL(AUDIO_PARAMETER_VALUE_HAC_OFF, "OFF"),
          EQUAL(AUDIO_PARAMETER_A2DP_SINK_ADDRESS, "a2dp_sink_address"),
          EQUAL(AUDIO_PARAMETER_A2DP_SOURCE_ADDRESS, "a2dp_source_address"),
          EQUAL(AUDIO_PARAMETER_KEY_BT_SCO_HEADSET_NAME, "bt_headset_name"),
          EQUAL(AUDIO_PARAMETER_KEY_HFP_ENABLE, "hfp_enable"),
          EQUAL(AUDIO_PARAMETER_KEY_HFP_SET_SAMPLING_RATE, "hfp_set_sampling_rate"),
          EQUAL(AUDIO_PARAMETER_KEY_HFP_VOLUME, "hfp_volume"),
          EQUAL(AUDIO_PARAMETER_KEY_ROTATION, "rotation"),
          EQUAL(AUDIO_PARAMETER_KEY_AANC, "aanc_enabled"),
          EQUAL(AUDIO_REMOTE_SUBMIX_DEVICE_ADDRESS, "0"),
          EQUAL(AUDIO_BOTTOM_MICROPHONE_ADDRESS, "bottom"),
          EQUAL(AUDIO_BACK_MICROPHONE_ADDRESS, "back"), EQUAL(AUDIO_HAL_SERVICE_NAME_MSD, "msd"),
          EQUAL(AUDIO_PARAMETER_VALUE_ON, "on"), EQUAL(AUDIO_PARAMETER_VALUE_OFF, "off"),
          EQUAL(AUDIO_PARAMETER_KEY_BT_NREC, "bt_headset_nrec"),
          EQUAL(AUDIO_PARAMETER_HW_AV_SYNC, "hw_av_sync"),
          EQUAL(AUDIO_PARAMETER_KEY_SCREEN_STATE, "screen_state"),
          EQUAL(AUDIO_PARAMETER_STREAM_ROUTING, "routing"),
          EQUAL(AUDIO_PARAMETER_STREAM_FORMAT, "format"),
          EQUAL(AUDIO_PARAMETER_STREAM_CHANNELS, "channels"),
          EQUAL(AUDIO_PARAMETER_STREAM_FRAME_COUNT, "frame_count"),
          EQUAL(AUDIO_PARAMETER_STREAM_INPUT_SOURCE, "input_source"),
          EQUAL(AUDIO_PARAMETER_STREAM_SAMPLING_RATE, "sampling_rate"),
          EQUAL(AUDIO_PARAMETER_STREAM_PRESENTATION_ID, "presentation_id"),
          EQUAL(AUDIO_PARAMETER_STREAM_PROGRAM_ID, "program_id"),
          EQUAL(AUDIO_PARAMETER_DEVICE_CONNECT, "connect"),
          EQUAL(AUDIO_PARAMETER_DEVICE_DISCONNECT, "disconnect"),
          EQUAL(AUDIO_PARAMETER_MONO_OUTPUT, "mono_output"),
          EQUAL(AUDIO_PARAMETER_STREAM_HW_AV_SYNC, "hw_av_sync"),
          EQUAL(AUDIO_PARAMETER_STREAM_SUP_FORMATS, "sup_formats"),
          EQUAL(AUDIO_PARAMETER_STREAM_SUP_CHANNELS, "sup_channels"),
          EQUAL(AUDIO_PARAMETER_STREAM_SUP_SAMPLING_RATES, "sup_sampling_rates"),
          EQUAL(AUDIO_PARAMETER_VALUE_LIST_SEPARATOR, "|"),
          EQUAL(AUDIO_PARAMETER_RECONFIG_A2DP, "reconfigA2dp"),
          EQUAL(AUDIO_PARAMETER_A2DP_RECONFIG_SUPPORTED, "isReconfigA2dpSupported"),
          EQUAL(AUDIO_OFFLOAD_CODEC_PARAMS, "music_offload_codec_param"),
          EQUAL(AUDIO_OFFLOAD_CODEC_BIT_PER_SAMPLE, "music_offload_bit_per_sample"),
          EQUAL(AUDIO_OFFLOAD_CODEC_BIT_RATE, "music_offload_bit_rate"),
          EQUAL(AUDIO_OFFLOAD_CODEC_AVG_BIT_RATE, "music_offload_avg_bit_rate"),
          EQUAL(AUDIO_OFFLOAD_CODEC_ID, "music_offload_codec_id"),
          EQUAL(AUDIO_OFFLOAD_CODEC_BLOCK_ALIGN, "music_offload_block_align"),
          EQUAL(AUDIO_OFFLOAD_CODEC_SAMPLE_RATE, "music_offload_sample_rate"),
          EQUAL(AUDIO_OFFLOAD_CODEC_ENCODE_OPTION, "music_offload_encode_option"),
          EQUAL(AUDIO_OFFLOAD_CODEC_NUM_CHANNEL, "music_offload_num_channels"),
          EQUAL(AUDIO_OFFLOAD_CODEC_DOWN_SAMPLING, "music_offload_down_sampling"),
          EQUAL(AUDIO_OFFLOAD_CODEC_DELAY_SAMPLES, "delay_samples"),
          EQUAL(AUDIO_OFFLOAD_CODEC_PADDING_SAMPLES, "padding_samples"));

static_assert(std::is_same_v<audio_flags_mask_t, uint32_t>);
static_assert(std::is_same_v<audio_unique_id_t, int>);
static_assert(std::is_same_v<audio_channel_representation_t, uint32_t>);
static_assert(std::is_same_v<audio_config_base_t, struct audio_config_base>);
static_assert(std::is_same_v<audio_hw_sync_t, uint32_t>);
static_assert(std::is_same_v<audio_microphone_group_t, int>);

FUNCTIONS(size_t(const struct audio_stream*), audio_stream_frame_size);
FUNCTIONS(audio_unique_id_use_t(audio_unique_id_t), audio_unique_id_get_use);
FUNCTIONS(bool(audio_channel_mask_t), audio_channel_mask_is_valid, audio_is_input_channel,
          audio_is_output_channel);
FUNCTIONS(audio_channel_mask_t(audio_channel_representation_t, uint32_t),
          audio_channel_mask_from_representation_and_bits);
FUNCTIONS(bool(audio_devices_t), audio_is_output_devices, audio_is_a2dp_in_device,
          audio_is_a2dp_out_device, audio_is_a2dp_device, audio_is_bluetooth_sco_device,
          audio_is_hearing_aid_out_device, audio_is_usb_out_device, audio_is_usb_in_device,
          audio_is_usb_device, audio_is_remote_submix_device, audio_device_is_digital);
FUNCTIONS(audio_channel_mask_t(uint32_t), audio_channel_mask_for_index_assignment_from_count,
          audio_channel_out_mask_from_count, audio_channel_in_mask_from_count);
FUNCTIONS(audio_channel_mask_t(audio_channel_mask_t), audio_channel_mask_in_to_out);
FUNCTIONS(bool(audio_format_t), audio_is_valid_format);
FUNCTIONS(audio_format_t(audio_format_t), audio_get_main_format);
FUNCTIONS(size_t(uint32_t, audio_format_t), audio_bytes_per_frame);
FUNCTIONS(char*(audio_devices_t, const char*), audio_device_address_to_parameter);
