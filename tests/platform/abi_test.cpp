// The audio interface's headers: layouts (by the compiler, in audio_abi.h), values from outside,
// and the small questions about formats, masks and devices.
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string.h>
#include <string>

#include <hardware/audio.h>
#include <system/audio.h>

#include "tests/platform/audio_abi.h"

namespace {

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
                           audio_session_t, audio_unique_id_use_t, audio_in_acoustics_t,
                           audio_drain_type_t, stream_callback_event_t, audio_port_role_t,
                           audio_port_type_t, audio_mix_latency_class_t,
                           audio_microphone_location_t, audio_microphone_directionality_t,
                           audio_microphone_channel_mapping_t>();
}

audio_format_t shown_format;
audio_channel_mask_t shown_mask;

TEST(AudioInterface, ChannelsAndFrameSizesFollowMaskAndFormat) {
    const struct {
        audio_format_t format;
        audio_channel_mask_t mask;
        const char* kinds;  // v: a valid mask, o: one of outputs, i: one of inputs
        uint32_t out, in, out_bytes, in_bytes, bytes_by_bits;
    } rows[] = {
        {AUDIO_FORMAT_PCM_16_BIT, AUDIO_CHANNEL_OUT_STEREO, "vo", 2, 0, 4, 0, 4},
        {AUDIO_FORMAT_PCM_16_BIT, AUDIO_CHANNEL_IN_5POINT1, "vi", 5, 6, 10, 12, 12},
        {AUDIO_FORMAT_PCM_8_BIT, AUDIO_CHANNEL_INDEX_MASK_2, "voi", 2, 2, 2, 2, 3},
        {AUDIO_FORMAT_PCM_24_BIT_PACKED, AUDIO_CHANNEL_INDEX_MASK_8, "voi", 8, 8, 24, 24, 27},
        {AUDIO_FORMAT_PCM_8_24_BIT, AUDIO_CHANNEL_IN_MONO, "voi", 1, 1, 4, 4, 4},
        {AUDIO_FORMAT_PCM_32_BIT, AUDIO_CHANNEL_OUT_7POINT1, "vo", 8, 6, 32, 24, 32},
        {AUDIO_FORMAT_PCM_FLOAT, AUDIO_CHANNEL_NONE, "", 0, 0, 0, 0, 0},
        {AUDIO_FORMAT_PCM_FLOAT, AUDIO_CHANNEL_INDEX_HDR, "", 0, 0, 0, 0, 4},
        // Positions that outputs do not have, a representation that there is not, no frames.
        {AUDIO_FORMAT_IEC61937, 0x3FF00000u, "v", 0, 3, 0, 6, 20},
        {AUDIO_FORMAT_PCM_16_BIT, 0x40000003u, "", 0, 0, 0, 0, 6},
        {AUDIO_FORMAT_AC3, AUDIO_CHANNEL_INVALID, "", 0, 0, 1, 1, 1},
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
        EXPECT_EQ(std::string(audio_channel_mask_is_valid(row.mask) ? "v" : "") +
                      (audio_is_output_channel(row.mask) ? "o" : "") +
                      (audio_is_input_channel(row.mask) ? "i" : ""),
                  row.kinds);
        EXPECT_EQ(audio_channel_count_from_out_mask(row.mask), row.out);
        EXPECT_EQ(audio_channel_count_from_in_mask(row.mask), row.in);
        EXPECT_EQ(audio_stream_out_frame_size(&out), row.out_bytes);
        EXPECT_EQ(audio_stream_in_frame_size(&in), row.in_bytes);
        EXPECT_EQ(audio_stream_frame_size(&out.common), row.bytes_by_bits);
    }
}

TEST(AudioInterface, MasksFollowFromCounts) {
    const audio_channel_mask_t invalid = AUDIO_CHANNEL_INVALID;
    const struct {
        uint32_t count;
        audio_channel_mask_t out, in, index;
    } rows[] = {
        {0, 0, 0, 0},
        {1, 0x1, 0x10, 0x80000001},
        {2, 0x3, 0xC, 0x80000003},
        {3, 0x7, 0x80000007, 0x80000007},
        {4, 0x33, 0x8000000F, 0x8000000F},
        {5, 0x37, 0x8000001F, 0x8000001F},
        {6, 0x3F, 0x8000003F, 0x8000003F},
        {7, 0x13F, 0x8000007F, 0x8000007F},
        {8, 0x63F, 0x800000FF, 0x800000FF},
        {9, invalid, invalid, 0x800001FF},
        {30, invalid, invalid, 0xBFFFFFFF},
        {31, invalid, invalid, invalid},
        {~0u, invalid, invalid, invalid},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.count);
        EXPECT_EQ(audio_channel_out_mask_from_count(row.count), row.out);
        EXPECT_EQ(audio_channel_in_mask_from_count(row.count), row.in);
        EXPECT_EQ(audio_channel_mask_for_index_assignment_from_count(row.count), row.index);
    }
    const audio_channel_mask_t ins_and_outs[][2] = {
        {0x10, 0x1},         {0xC, 0x3},          {0x17000C, 0x3F},    {0x74000C, 0xC000F},
        {0x64000C, 0xC0007}, {0x70000C, 0xC000B}, {0x60000C, 0xC0003}, {0x30, invalid}};
    for (const auto& row : ins_and_outs) {
        EXPECT_EQ(audio_channel_mask_in_to_out(row[0]), row[1]);
    }
}

TEST(AudioInterface, FormatsAreKnownByTheirMainPart) {
    const struct {
        uint32_t format;
        bool valid;
        uint32_t main, stereo_bytes;
    } rows[] = {
        {0x00000000, false, 0, 0},          {0x00000001, true, 0, 4},
        {0x00000006, true, 0, 6},           {0x00000007, false, 0, 0},
        {0x04000300, true, 0x04000000, 0},  {0x0A000001, true, 0x0A000000, 0},
        {0x0D000000, true, 0x0D000000, 4},  {0x0F000000, false, 0x0F000000, 0},
        {0x24000003, true, 0x24000000, 0},  {0x25000000, false, 0x25000000, 0},
        {0xFFFFFFFF, false, 0xFF000000, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        const auto format = static_cast<audio_format_t>(row.format);
        EXPECT_EQ(audio_is_valid_format(format), row.valid);
        EXPECT_EQ(audio_get_main_format(format), row.main);
        EXPECT_EQ(audio_bytes_per_frame(2, format), row.stereo_bytes);
    }
}

TEST(AudioInterface, DevicesAreToldApart) {
    const struct {
        bool (*is)(audio_devices_t);
        char letter;
    } questions[] = {
        {audio_is_output_devices, 'O'},         {audio_is_output_device, 'o'},
        {audio_is_input_device, 'i'},           {audio_is_a2dp_out_device, 'a'},
        {audio_is_a2dp_in_device, 'A'},         {audio_is_a2dp_device, '2'},
        {audio_is_bluetooth_sco_device, 's'},   {audio_is_usb_out_device, 'u'},
        {audio_is_usb_in_device, 'U'},          {audio_is_usb_device, 'b'},
        {audio_is_hearing_aid_out_device, 'h'}, {audio_is_remote_submix_device, 'r'},
        {audio_device_is_digital, 'd'},
    };
    const struct {
        audio_devices_t device;
        const char *answers, *parameter;
    } rows[] = {
        {AUDIO_DEVICE_NONE, "O", "here"},
        {AUDIO_DEVICE_OUT_SPEAKER, "Oo", "here"},
        {AUDIO_DEVICE_OUT_SPEAKER | AUDIO_DEVICE_OUT_SPDIF, "Od", "here"},
        {AUDIO_DEVICE_OUT_HDMI, "Ood", "here"},
        {AUDIO_DEVICE_OUT_BUS, "Ood", "here"},
        {AUDIO_DEVICE_OUT_USB_HEADSET, "Ooubd", "here"},
        {AUDIO_DEVICE_OUT_BLUETOOTH_SCO_CARKIT, "Oos", "here"},
        {AUDIO_DEVICE_OUT_BLUETOOTH_A2DP_SPEAKER, "Ooa2", "a2dp_sink_address=here"},
        {AUDIO_DEVICE_OUT_BLUETOOTH_A2DP | AUDIO_DEVICE_OUT_SPEAKER, "O", "a2dp_sink_address=here"},
        {AUDIO_DEVICE_OUT_HEARING_AID, "Ooh", "here"},
        {AUDIO_DEVICE_OUT_REMOTE_SUBMIX, "Oor", "mix=here"},
        {AUDIO_DEVICE_OUT_STUB, "Oo", "here"},
        {0x20000000, "O", "here"},
        {AUDIO_DEVICE_BIT_IN, "", "here"},
        {AUDIO_DEVICE_IN_BUILTIN_MIC, "i", "here"},
        {AUDIO_DEVICE_IN_BUILTIN_MIC | AUDIO_DEVICE_IN_SPDIF, "d", "here"},
        {AUDIO_DEVICE_IN_BLUETOOTH_SCO_HEADSET, "is", "here"},
        {AUDIO_DEVICE_IN_BLUETOOTH_A2DP, "iA", "here"},
        {AUDIO_DEVICE_IN_USB_DEVICE, "iUd", "here"},
        {AUDIO_DEVICE_IN_STUB, "i", "here"},
        {0xA0000000, "", "here"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.device);
        std::string answers;
        for (const auto& question : questions) {
            answers.append(question.is(row.device) ? 1 : 0, question.letter);
        }
        EXPECT_EQ(answers, row.answers);
        const std::unique_ptr<char, decltype(&std::free)> parameter(
            audio_device_address_to_parameter(row.device, "here"), &std::free);
        EXPECT_STREQ(parameter.get(), row.parameter);
    }
    EXPECT_TRUE(audio_is_remote_submix_device(AUDIO_DEVICE_IN_REMOTE_SUBMIX));
    EXPECT_EQ(audio_unique_id_get_use(0x2D), AUDIO_UNIQUE_ID_USE_OUTPUT);
}

}  // namespace
