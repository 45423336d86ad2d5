#include <gtest/gtest.h>
#include <vector>

#include "tools/media/channel_mix.h"

namespace {

constexpr float c3 = 0.70710678F;  // -3 dB

TEST(ChannelMix, GainsFollowTheDocumentedRule) {
    const struct {
        unsigned in;
        unsigned out;
        float scale;               // that keeps the loudest output at unity
        std::vector<float> gains;  // before the scale, `in` of them for each output channel
    } rows[] = {
        {1, 2, 1, {1, 1}},
        {1, 6, 1, {1, 1, 0, 0, 0, 0}},
        {2, 1, 1, {.5F, .5F}},
        {2, 2, 1, {1, 0, 0, 1}},
        {4, 2, 1 + c3, {1, 0, c3, 0, 0, 1, 0, c3}},
        {6, 2, 1 + 2 * c3, {1, 0, c3, 0, c3, 0, 0, 1, c3, 0, 0, c3}},
        {7, 2, 1.5F + 2 * c3, {1, 0, c3, 0, .5F, c3, 0, 0, 1, c3, 0, .5F, 0, c3}},
        {7, 6, 1 + c3, {1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0,  0, 0, 0, 0, 1, 0, 0,  0, 0,
                        0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, c3, 1, 0, 0, 0, 0, 0, c3, 0, 1}},
        {8, 6, 2, {1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0,
                   0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 1}},
    };
    for (const auto& row : rows) {
        const channel_mix mix(customary_layout(row.in), customary_layout(row.out));
        ASSERT_EQ(row.gains.size(), row.in * row.out);
        for (size_t i = 0; i < row.gains.size(); ++i) {
            EXPECT_NEAR(mix.gain(i / row.in, i % row.in), row.gains[i] / row.scale, 1e-6)
                << row.in << " to " << row.out << ", gain " << i;
        }
    }
}

}  // namespace
