#include <gtest/gtest.h>

#include "hal/channel_mask.h"

TEST(ChannelMask, CountsOutputChannelsByRepresentation) {
    const struct {
        uint32_t mask;
        uint32_t channels;
    } rows[] = {
        {AUDIO_CHANNEL_OUT_STEREO, 2},
        {AUDIO_CHANNEL_OUT_5POINT1, 6},
        {AUDIO_CHANNEL_OUT_7POINT1, 8},
        {0x3FFFFFFF, 20},  // only 20 positions are outputs
        {0x3FF00000, 0},
        {AUDIO_CHANNEL_INDEX_MASK_2, 2},
        {0xBFFFFFFF, 30},
        {0x80000000, 0},
        {0x40000003, 0},  // representations 1 and 3 do not exist
        {0xC0000003, 0},
        {0, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(channel_count_from_out_mask(row.mask), row.channels) << std::hex << row.mask;
    }
}

TEST(ChannelMask, CountsInputChannelsByTheirOwnPositions) {
    const struct {
        uint32_t mask;
        uint32_t channels;
    } rows[] = {
        {AUDIO_CHANNEL_IN_MONO, 1},
        {AUDIO_CHANNEL_IN_STEREO, 2},
        {0x3, 0},
        {0x3FFFFFFF, 20},
        {0x00880000, 0},
        {AUDIO_CHANNEL_INDEX_MASK_1, 1},
        {0xBFFFFFFF, 30},
        {0x4000000C, 0},
        {0xC000000C, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(channel_count_from_in_mask(row.mask), row.channels) << std::hex << row.mask;
    }
}
