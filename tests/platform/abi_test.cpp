// The audio interface's headers: layouts (by the compiler, in audio_abi.h), values from outside,
// and the small questions about formats, masks and devices.
#include <gtest/gtest.h>
#include <string.h>
#include <type_traits>

#include <hardware/audio.h>
#include <system/audio.h>

#include "tests/platform/audio_abi.h"

namespace {

// A module fills these slots with functions of exactly these types.
static_assert(std::is_same_v<decltype(audio_hw_device::open_output_stream),
                             int (*)(struct audio_hw_device*, audio_io_handle_t, audio_devices_t,
                                     audio_output_flags_t, struct audio_config*,
                                     struct audio_stream_out**, const char*)>);
static_assert(std::is_same_v<decltype(audio_hw_device::open_input_stream),
                             int (*)(struct audio_hw_device*, audio_io_handle_t, audio_devices_t,
                                     struct audio_config*, struct audio_stream_in**,
                                     audio_input_flags_t, const char*, audio_source_t)>);
static_assert(std::is_same_v<decltype(audio_stream_out::write),
                             ssize_t (*)(struct audio_stream_out*, const void*, size_t)>);
static_assert(std::is_same_v<decltype(audio_stream_out::get_presentation_position),
                             int (*)(const struct audio_stream_out*, uint64_t*, struct timespec*)>);
static_assert(std::is_same_v<audio_channel_mask_t, uint32_t>);
static_assert(std::is_same_v<audio_devices_t, uint32_t>);
static_assert(std::is_same_v<audio_io_handle_t, int>);

// Loads `bits` as the framework would hand them over. A sanitizer ends the test where an
// enumeration does not span them.
template <typename Enum>
void expect_any_value_loads(uint32_t bits) {
    static_assert(sizeof(Enum) == sizeof(bits));
    Enum value;
    memcpy(&value, &bits, sizeof(value));
    volatile Enum held = value;
    const Enum loaded = held;
    EXPECT_EQ(static_cast<uint32_t>(loaded), bits);
}

TEST(AudioInterface, EnumerationsTakeAnyValueFromOutside) {
    for (const uint32_t bits : {0u, 0x7Fu, 0x10000u, 0x7FFFFFFFu, 0x80000000u, 0xDEADBEEFu, ~0u}) {
        expect_any_value_loads<audio_format_t>(bits);
        expect_any_value_loads<audio_mode_t>(bits);
        expect_any_value_loads<audio_output_flags_t>(bits);
        expect_any_value_loads<audio_input_flags_t>(bits);
        expect_any_value_loads<audio_source_t>(bits);
        expect_any_value_loads<audio_stream_type_t>(bits);
        expect_any_value_loads<audio_usage_t>(bits);
        expect_any_value_loads<audio_content_type_t>(bits);
        expect_any_value_loads<audio_session_t>(bits);
        expect_any_value_loads<audio_drain_type_t>(bits);
        expect_any_value_loads<stream_callback_event_t>(bits);
        expect_any_value_loads<audio_port_role_t>(bits);
        expect_any_value_loads<audio_port_type_t>(bits);
        expect_any_value_loads<audio_mix_latency_class_t>(bits);
        expect_any_value_loads<audio_microphone_location_t>(bits);
        expect_any_value_loads<audio_microphone_directionality_t>(bits);
        expect_any_value_loads<audio_microphone_channel_mapping_t>(bits);
    }
}

TEST(AudioInterface, ChannelsAreCountedByHowTheMaskIsRead) {
    const struct {
        audio_channel_mask_t mask;
        uint32_t out;
        uint32_t in;
    } rows[] = {
        {AUDIO_CHANNEL_NONE, 0, 0},
        {AUDIO_CHANNEL_OUT_MONO, 1, 0},
        {AUDIO_CHANNEL_OUT_STEREO, 2, 0},
        {AUDIO_CHANNEL_OUT_5POINT1, 6, 4},
        {AUDIO_CHANNEL_OUT_7POINT1, 8, 6},
        {AUDIO_CHANNEL_OUT_7POINT1POINT4, 12, 10},
        {AUDIO_CHANNEL_IN_MONO, 1, 1},
        {AUDIO_CHANNEL_IN_5POINT1, 5, 6},
        {AUDIO_CHANNEL_INDEX_MASK_1, 1, 1},
        {AUDIO_CHANNEL_INDEX_MASK_8, 8, 8},
        {0xBFFFFFFFu, 30, 30},  // every index
        {0x40000003u, 0, 0},    // no such representation
        {AUDIO_CHANNEL_INVALID | 3u, 0, 0},
        {0x3FF00000u, 0, 3},  // positions that outputs do not have
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mask);
        EXPECT_EQ(audio_channel_count_from_out_mask(row.mask), row.out);
        EXPECT_EQ(audio_channel_count_from_in_mask(row.mask), row.in);
    }
}

audio_format_t shown_format;
audio_channel_mask_t shown_mask;

TEST(AudioInterface, FrameSizesFollowFormatAndChannels) {
    const struct {
        audio_format_t format;
        audio_channel_mask_t mask;
        size_t out_bytes;
    } rows[] = {
        {AUDIO_FORMAT_PCM_16_BIT, AUDIO_CHANNEL_OUT_STEREO, 4},
        {AUDIO_FORMAT_PCM_8_BIT, AUDIO_CHANNEL_OUT_STEREO, 2},
        {AUDIO_FORMAT_PCM_24_BIT_PACKED, AUDIO_CHANNEL_OUT_5POINT1, 18},
        {AUDIO_FORMAT_PCM_8_24_BIT, AUDIO_CHANNEL_OUT_STEREO, 8},
        {AUDIO_FORMAT_PCM_32_BIT, AUDIO_CHANNEL_OUT_7POINT1, 32},
        {AUDIO_FORMAT_PCM_FLOAT, AUDIO_CHANNEL_OUT_MONO, 4},
        {AUDIO_FORMAT_IEC61937, AUDIO_CHANNEL_OUT_STEREO, 4},
        {AUDIO_FORMAT_AC3, AUDIO_CHANNEL_OUT_5POINT1, 1},
        {AUDIO_FORMAT_INVALID, AUDIO_CHANNEL_OUT_STEREO, 1},
        {AUDIO_FORMAT_DEFAULT, AUDIO_CHANNEL_OUT_STEREO, 0},
    };
    audio_stream_out stream = {};
    stream.common.get_format = [](const audio_stream*) { return shown_format; };
    stream.common.get_channels = [](const audio_stream*) { return shown_mask; };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        shown_format = row.format;
        shown_mask = row.mask;
        EXPECT_EQ(audio_stream_out_frame_size(&stream), row.out_bytes);
    }
}

TEST(AudioInterface, InputFramesAreSizedByInputChannels) {
    audio_stream_in stream = {};
    stream.common.get_format = [](const audio_stream*) { return AUDIO_FORMAT_PCM_16_BIT; };
    stream.common.get_channels = [](const audio_stream*) -> audio_channel_mask_t {
        return AUDIO_CHANNEL_IN_5POINT1;
    };
    EXPECT_EQ(audio_stream_in_frame_size(&stream), 12u);
}

TEST(AudioInterface, ADeviceIsOneKnownBitOfItsDirection) {
    const struct {
        audio_devices_t device;
        bool output;
        bool input;
    } rows[] = {
        {AUDIO_DEVICE_NONE, false, false},
        {AUDIO_DEVICE_OUT_SPEAKER, true, false},
        {AUDIO_DEVICE_OUT_DEFAULT, true, false},
        {AUDIO_DEVICE_OUT_SPEAKER | AUDIO_DEVICE_OUT_HDMI, false, false},
        {0x10000000u, false, false},
        {AUDIO_DEVICE_BIT_IN, false, false},
        {AUDIO_DEVICE_IN_BUILTIN_MIC, false, true},
        {AUDIO_DEVICE_IN_DEFAULT, false, true},
        {AUDIO_DEVICE_IN_BUILTIN_MIC | AUDIO_DEVICE_IN_HDMI, false, false},
        {0x80200000u, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.device);
        EXPECT_EQ(audio_is_output_device(row.device), row.output);
        EXPECT_EQ(audio_is_input_device(row.device), row.input);
    }
}

}  // namespace
