// The voice-input stand-in: what it answers and what it tells the log.
#include <cstdlib>
#include <errno.h>
#include <gtest/gtest.h>

#include <hardware/audio.h>
#include <nano/nano.h>

#include "tests/support/log_recorder.h"

namespace {

TEST(Nano, OpenLogsWhatItIsGivenAndAnswersWhatTheEnvironmentAsksFor) {
    const log_recorder log;
    audio_stream_in stream = {};
    audio_config config = AUDIO_CONFIG_INITIALIZER;
    config.sample_rate = 16000;
    config.channel_mask = AUDIO_CHANNEL_IN_STEREO;
    EXPECT_EQ(nano_input_open(&stream, &config), 0);
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.count_containing("rate 16000 mask 0xc format 0 frames 0: 0"), 1);
    EXPECT_EQ(nano_input_open(nullptr, &config), -EINVAL);
    EXPECT_EQ(nano_input_open(&stream, nullptr), -EINVAL);
    const struct {
        const char* value;
        int result, warnings;
    } rows[] = {
        {"-19", -19, 0},       {"-2147483648", INT32_MIN, 0},
        {"-2147483649", 0, 1}, {"0", 0, 1},
        {"5", 0, 1},           {"-5x", 0, 1},
        {"no", 0, 1},          {"", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        setenv("CORVEX_NANO_REFUSE_OPEN", row.value, 1);
        const int before = log.count_containing("ignored");
        EXPECT_EQ(nano_input_open(&stream, &config), row.result);
        EXPECT_EQ(log.count_containing("ignored") - before, row.warnings);
    }
}

}  // namespace
