#include <gtest/gtest.h>
#include <vector>

#include "tools/channel_mix.h"

namespace {

using s = speaker;

constexpr float c3 = 0.70710678F;  // -3 dB

struct mix_row {
    const char* name;
    speaker_layout in;
    speaker_layout out;
    float scale;                            // that keeps the loudest output at unity
    std::vector<std::vector<float>> gains;  // before the scale, a row for each output channel
};

TEST(ChannelMix, GainsFollowTheDocumentedRule) {
    const mix_row rows[] = {
        {"mono to stereo", customary_layout(1), customary_layout(2), 1, {{1}, {1}}},
        {"mono to 5.1",
         customary_layout(1),
         customary_layout(6),
         1,
         {{1}, {1}, {0}, {0}, {0}, {0}}},
        {"stereo to mono", customary_layout(2), customary_layout(1), 1, {{.5F, .5F}}},
        {"stereo to stereo", customary_layout(2), customary_layout(2), 1, {{1, 0}, {0, 1}}},
        {"quad to stereo",
         customary_layout(4),
         customary_layout(2),
         1 + c3,
         {{1, 0, c3, 0}, {0, 1, 0, c3}}},
        {"5.1 to stereo",
         customary_layout(6),
         customary_layout(2),
         1 + 2 * c3,
         {{1, 0, c3, 0, c3, 0}, {0, 1, c3, 0, 0, c3}}},
        {"6.1 to stereo",
         customary_layout(7),
         customary_layout(2),
         1.5F + 2 * c3,
         {{1, 0, c3, 0, .5F, c3, 0}, {0, 1, c3, 0, .5F, 0, c3}}},
        {"7.1 to 5.1",
         customary_layout(8),
         customary_layout(6),
         2,
         {{1, 0, 0, 0, 0, 0, 0, 0},
          {0, 1, 0, 0, 0, 0, 0, 0},
          {0, 0, 1, 0, 0, 0, 0, 0},
          {0, 0, 0, 1, 0, 0, 0, 0},
          {0, 0, 0, 0, 1, 0, 1, 0},
          {0, 0, 0, 0, 0, 1, 0, 1}}},
        {"side pair to 5.1",
         {s::side_left, s::side_right},
         customary_layout(6),
         1,
         {{0, 0}, {0, 0}, {0, 0}, {0, 0}, {1, 0}, {0, 1}}},
        {"back centre to 5.1",
         {s::front_left, s::front_right, s::back_center},
         customary_layout(6),
         1,
         {{1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, c3}, {0, 0, c3}}},
    };
    for (const mix_row& row : rows) {
        SCOPED_TRACE(row.name);
        const channel_mix mix(row.in, row.out);
        ASSERT_EQ(mix.out_channels(), row.gains.size());
        for (size_t o = 0; o < row.gains.size(); ++o) {
            ASSERT_EQ(mix.in_channels(), row.gains[o].size());
            for (size_t i = 0; i < row.gains[o].size(); ++i) {
                EXPECT_NEAR(mix.gain(o, i), row.gains[o][i] / row.scale, 1e-6)
                    << "out " << o << " in " << i;
            }
        }
    }
}

TEST(ChannelMix, NoLayoutClipsAndOnlyTheLfeIsLost) {
    for (unsigned in = 1; in <= max_channels; ++in) {
        for (const unsigned out : {1U, 2U, 6U, 8U}) {
            SCOPED_TRACE(std::to_string(in) + " to " + std::to_string(out));
            const speaker_layout from = customary_layout(in);
            const channel_mix mix(from, customary_layout(out));
            std::vector<float> heard(in, 0);
            for (size_t o = 0; o < out; ++o) {
                float sum = 0;
                for (size_t i = 0; i < in; ++i) {
                    ASSERT_GE(mix.gain(o, i), 0);
                    sum += mix.gain(o, i);
                    heard[i] += mix.gain(o, i);
                }
                EXPECT_LE(sum, 1.0001F);
            }
            for (size_t i = 0; i < in; ++i) {
                EXPECT_EQ(heard[i] > 0, from[i] != speaker::lfe || out > 2) << "channel " << i;
            }
        }
    }
}

TEST(ChannelMix, AppliesGainsFrameByFrame) {
    const channel_mix mix(customary_layout(2), customary_layout(1));
    const float in[] = {0.5F, 0.25F, -1.0F, 1.0F};
    float out[] = {9, 9, 9};
    mix.apply(in, 2, out);
    EXPECT_FLOAT_EQ(out[0], 0.375F);
    EXPECT_FLOAT_EQ(out[1], 0);
    EXPECT_FLOAT_EQ(out[2], 9);
}

}  // namespace
