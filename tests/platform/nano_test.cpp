// The voice-input stand-in: what it answers and what it tells the log.
#include <cstdlib>
#include <errno.h>
#include <gtest/gtest.h>
#include <string>

#include <android/log.h>
#include <hardware/audio.h>
#include <nano/nano.h>

#include "tests/support/log_recorder.h"

namespace {

class Nano : public testing::Test {
  protected:
    void TearDown() override { unsetenv("CORVEX_NANO_REFUSE_OPEN"); }

    log_recorder log_;
    audio_stream_in stream_ = {};
    audio_config config_ = AUDIO_CONFIG_INITIALIZER;
};

TEST_F(Nano, OpenLogsWhatItIsGiven) {
    config_.sample_rate = 16000;
    config_.channel_mask = AUDIO_CHANNEL_IN_STEREO;
    config_.format = AUDIO_FORMAT_PCM_16_BIT;
    config_.frame_count = 512;
    EXPECT_EQ(nano_input_open(&stream_, &config_), 0);
    ASSERT_EQ(log_.lines().size(), 1u);
    EXPECT_EQ(log_.lines()[0].priority, ANDROID_LOG_DEBUG);
    EXPECT_EQ(log_.lines()[0].tag, "nano");
    EXPECT_EQ(log_.count_containing("rate 16000 mask 0xc format 0x1 frames 512: 0"), 1);
}

TEST_F(Nano, OpenRefusesNullPointers) {
    EXPECT_EQ(nano_input_open(nullptr, &config_), -EINVAL);
    EXPECT_EQ(nano_input_open(&stream_, nullptr), -EINVAL);
}

TEST_F(Nano, OpenAnswersWhatTheEnvironmentAsksFor) {
    const struct {
        const char* value;
        int result;
        bool warns;
    } rows[] = {
        {"-19", -19, false},      {"-2147483648", INT32_MIN, false},
        {"-2147483649", 0, true}, {"-99999999999999999999", 0, true},
        {"0", 0, true},           {"5", 0, true},
        {"-5x", 0, true},         {"no", 0, true},
        {"", 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        log_.clear();
        setenv("CORVEX_NANO_REFUSE_OPEN", row.value, 1);
        EXPECT_EQ(nano_input_open(&stream_, &config_), row.result);
        EXPECT_EQ(log_.lines()[0].priority, row.warns ? ANDROID_LOG_WARN : ANDROID_LOG_DEBUG);
    }
}

}  // namespace
