#include <gtest/gtest.h>

#include "tools/pcm/level_meter.h"

namespace {

TEST(LevelMeter, ShowsTheLoudestSampleOfEitherSign) {
    const struct {
        int16_t sample;
        const char* text;
        size_t marks;
    } rows[] = {{0, "silence", 0},      {1, "-90.3 dB", 0},      {33, "-59.9 dB", 0},
                {1036, "-30.0 dB", 15}, {-16384, "-6.0 dB", 27}, {-32768, "0.0 dB", 30}};
    for (const auto& row : rows) {
        level_meter meter;
        const int16_t samples[] = {0, row.sample, 0};
        meter.add(samples, 3);
        EXPECT_EQ(level_text(meter.peak()), row.text);
        EXPECT_EQ(level_bar(meter.peak()),
                  "[" + std::string(row.marks, '#') + std::string(30 - row.marks, '-') + "]");
    }
    level_meter meter;
    const int16_t loud = -500;
    const int16_t quiet = 20;
    meter.add(&loud, 1);
    EXPECT_EQ(meter.take_recent_peak(), 500U);
    meter.add(&quiet, 1);
    EXPECT_EQ(meter.take_recent_peak(), 20U);
    EXPECT_EQ(meter.peak(), 500U);
}

}  // namespace
