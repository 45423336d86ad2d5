// The audio interface's headers: layouts (by the compiler, in audio_abi.h), values from outside,
// and the small questions about formats and masks.
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
static_assert(std::is_same_v<decltype(audio_stream_out::get_presentation_position),
                             int (*)(const struct audio_stream_out*, uint64_t*, struct timespec*)>);

// Loads `bits` as the framework would hand them over. A sanitizer ends the test where an
// enumeration does not span them.
template <typename Enum>
void expect_value_loads(uint32_t bits) {
    static_assert(sizeof(Enum) == sizeof(bits));
    Enum value;
    memcpy(&value, &bits, sizeof(value));
    volatile Enum held = value;
    const Enum loaded = held;
    EXPECT_EQ(static_cast<uint32_t>(loaded), bits);
}
template <typename... Enums>
void expect_any_value_loads() {
    for (const uint32_t bits : {0x7Fu, 0x7FFFFFFFu, 0x80000000u, ~0u}) {
        (expect_value_loads<Enums>(bits), ...);
    }
}

TEST(AudioInterface, EnumerationsTakeAnyValueFromOutside) {
    expect_any_value_loads<audio_format_t, audio_mode_t, audio_output_flags_t, audio_input_flags_t,
                           audio_source_t, audio_stream_type_t, audio_usage_t, audio_content_type_t,
                           audio_session_t, audio_drain_type_t, stream_callback_event_t,
                           audio_port_role_t, audio_port_type_t, audio_mix_latency_class_t,
                           audio_microphone_location_t, audio_microphone_directionality_t,
                           audio_microphone_channel_mapping_t>();
}

audio_format_t shown_format;
audio_channel_mask_t shown_mask;

TEST(AudioInterface, ChannelsAndFrameSizesFollowMaskAndFormat) {
    const struct {
        audio_format_t format;
        audio_channel_mask_t mask;
        uint32_t out, in, out_bytes, in_bytes;
    } rows[] = {
        {AUDIO_FORMAT_PCM_16_BIT, AUDIO_CHANNEL_OUT_STEREO, 2, 0, 4, 0},
        {AUDIO_FORMAT_PCM_16_BIT, AUDIO_CHANNEL_IN_5POINT1, 5, 6, 10, 12},
        {AUDIO_FORMAT_PCM_8_BIT, AUDIO_CHANNEL_INDEX_MASK_2, 2, 2, 2, 2},
        {AUDIO_FORMAT_PCM_24_BIT_PACKED, AUDIO_CHANNEL_INDEX_MASK_8, 8, 8, 24, 24},
        {AUDIO_FORMAT_PCM_8_24_BIT, AUDIO_CHANNEL_IN_MONO, 1, 1, 4, 4},
        {AUDIO_FORMAT_PCM_32_BIT, AUDIO_CHANNEL_OUT_7POINT1, 8, 6, 32, 24},
        {AUDIO_FORMAT_PCM_FLOAT, AUDIO_CHANNEL_NONE, 0, 0, 0, 0},
        {AUDIO_FORMAT_IEC61937, 0x3FF00000u, 0, 3, 0, 6},  // positions that outputs do not have
        {AUDIO_FORMAT_AC3, 0x40000003u, 0, 0, 1, 1},       // no such representation
    };
    audio_stream_out out = {};
    audio_stream_in in = {};
    out.common.get_format = in.common.get_format = [](const audio_stream*) { return shown_format; };
    out.common.get_channels =
        in.common.get_channels = [](const audio_stream*) { return shown_mask; };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        shown_format = row.format;
        shown_mask = row.mask;
        EXPECT_EQ(audio_channel_count_from_out_mask(row.mask), row.out);
        EXPECT_EQ(audio_channel_count_from_in_mask(row.mask), row.in);
        EXPECT_EQ(audio_stream_out_frame_size(&out), row.out_bytes);
        EXPECT_EQ(audio_stream_in_frame_size(&in), row.in_bytes);
    }
}

}  // namespace
