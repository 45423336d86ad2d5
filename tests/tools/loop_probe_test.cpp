#include <gtest/gtest.h>

#include "tests/tools/audio_samples.h"
#include "tools/pcm/loop_probe.h"

namespace {

TEST(LoopProbe, IsFoundAtAnyLevelAndPolarityAndInNoise) {
    const std::vector<float> probe = make_loop_probe();
    const auto samples = noise(20'000);
    const struct {
        float gain, noise, least, most;
    } rows[] = {
        {1, 0, 0.999F, 1.001F},
        {-0.001F, 0, 0.999F, 1.001F},
        {1, 0.1F, 0.8F, 0.99F},
        {0, 0.1F, 0, 0.2F},
    };
    for (const auto& row : rows) {
        std::vector<float> recorded;
        for (const int16_t sample : samples) {
            recorded.push_back(row.noise * static_cast<float>(sample) / 32768);
        }
        for (size_t i = 0; i < probe.size(); ++i) {
            recorded[12'345 + i] += row.gain * probe[i];
        }
        const probe_match match = find_loop_probe(recorded, probe);
        EXPECT_GE(match.correlation, row.least) << row.gain;
        EXPECT_LE(match.correlation, row.most) << row.gain;
        if (row.gain != 0) {
            EXPECT_EQ(match.frame, 12'345U) << row.gain;
        }
    }
    EXPECT_EQ(find_loop_probe(std::vector<float>(5000), probe).correlation, 0);
    EXPECT_EQ(find_loop_probe({}, probe).correlation, 0);
    EXPECT_EQ(find_loop_probe(probe, probe).frame, 0U);
}

}  // namespace
