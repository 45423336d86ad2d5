// What an open asks of alsa-lib, what it says when alsa-lib refuses, and that it gives all back.

#include <cerrno>
#include <climits>

#include "tinyalsa_env.h"
#include "tinyalsa_fake_alsa.h"

namespace {

class TinyalsaOpen : public testing::Test {
  protected:
    void SetUp() override { fake = fake_alsa(); }
    void TearDown() override {
        EXPECT_EQ(fake.open_streams, 0);
        EXPECT_EQ(fake.live_params, 0);
        EXPECT_EQ(fake.error_handler, nullptr) << "the thread's error handler was not put back";
    }
};

TEST_F(TinyalsaOpen, NamesTheCardAndOpensWithoutWaitingThenBlocks) {
    const pcm_config config = stereo_config();
    const pcm_ptr handle(pcm_open(3, 5, PCM_OUT, &config));
    ASSERT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
    EXPECT_EQ(fake.name, "hw:3,5");
    EXPECT_EQ(fake.open_mode, SND_PCM_NONBLOCK);
    EXPECT_TRUE(fake.blocking);
    EXPECT_EQ(fake.direction, SND_PCM_STREAM_PLAYBACK);
    EXPECT_STREQ(pcm_get_error(handle.get()), "");
}

TEST_F(TinyalsaOpen, EachDirectionHasItsOwnVariableAndAnEmptyOneCountsAsUnset) {
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "loudspeaker");
    const scoped_env capture("CORVEX_ALSA_CAPTURE", "");
    open_pcm(PCM_OUT, stereo_config());
    EXPECT_EQ(fake.name, "loudspeaker");
    open_pcm(PCM_IN, stereo_config());
    EXPECT_EQ(fake.name, "hw:0,0");
    EXPECT_EQ(fake.direction, SND_PCM_STREAM_CAPTURE);
}

TEST_F(TinyalsaOpen, FlagsChooseBlockingAccessAndClock) {
    open_pcm(PCM_OUT | PCM_NONBLOCK | PCM_MMAP | PCM_MONOTONIC, stereo_config());
    EXPECT_FALSE(fake.blocking);
    EXPECT_EQ(fake.software["access"], SND_PCM_ACCESS_MMAP_INTERLEAVED);
    EXPECT_EQ(fake.software["tstamp_type"], SND_PCM_TSTAMP_TYPE_MONOTONIC);
    EXPECT_EQ(fake.software["tstamp_mode"], SND_PCM_TSTAMP_ENABLE);
    open_pcm(PCM_OUT, stereo_config());
    EXPECT_EQ(fake.software["access"], SND_PCM_ACCESS_RW_INTERLEAVED);
    EXPECT_EQ(fake.software["tstamp_type"], SND_PCM_TSTAMP_TYPE_GETTIMEOFDAY);
}

TEST_F(TinyalsaOpen, FormatsReachTheCardAsTheyAre) {
    const struct {
        pcm_format format;
        snd_pcm_format_t expected;
        unsigned bits;
    } rows[] = {
        {PCM_FORMAT_S16_LE, SND_PCM_FORMAT_S16_LE, 16},
        {PCM_FORMAT_S32_LE, SND_PCM_FORMAT_S32_LE, 32},
        {PCM_FORMAT_S8, SND_PCM_FORMAT_S8, 8},
        {PCM_FORMAT_S24_LE, SND_PCM_FORMAT_S24_LE, 32},
        {PCM_FORMAT_S24_3LE, SND_PCM_FORMAT_S24_3LE, 24},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        fake.formats = {row.expected};
        pcm_config config = stereo_config();
        config.format = row.format;
        const pcm_ptr handle = open_pcm(PCM_OUT, config);
        EXPECT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        EXPECT_EQ(pcm_format_to_bits(row.format), row.bits);
        EXPECT_EQ(pcm_frames_to_bytes(handle.get(), 10), 10 * 2 * row.bits / 8);
    }
}

TEST_F(TinyalsaOpen, ThresholdsReachTheCard) {
    const struct {
        const char* name;
        unsigned flags;
        unsigned period_size;
        unsigned long start, stop, avail_min, silence_threshold, silence_size;  // asked for
        unsigned long got_start, got_stop, got_avail_min;
    } rows[] = {
        {"playback defaults", PCM_OUT, 480, 0, 0, 0, 0, 0, 480, 960, 480},
        {"capture defaults", PCM_IN, 480, 0, 0, 0, 0, 0, 1, 9600, 480},
        {"defaults of a raised period", PCM_OUT, 481, 0, 0, 0, 0, 0, 496, 992, 496},
        {"as asked for", PCM_OUT, 480, 7, 900, 48, 100, 100, 7, 900, 48},
        {"never stop", PCM_OUT, 480, 0, 0x7FFFFFFF, 0, 0, 0, 480, 1ul << 30, 480},
        {"never stop at all", PCM_OUT, 480, 0, ULONG_MAX, 0, 0, 0, 480, 1ul << 30, 480},
        {"above the buffer", PCM_OUT, 480, 5000, 5000, 5000, 0, 0, 960, 5000, 960},
        {"silence all the time", PCM_OUT, 480, 0, 0, 0, 0, ULONG_MAX, 480, 960, 480},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fake = fake_alsa();
        pcm_config config = stereo_config();
        config.period_size = row.period_size;
        config.start_threshold = row.start;
        config.stop_threshold = row.stop;
        config.avail_min = row.avail_min;
        config.silence_threshold = row.silence_threshold;
        config.silence_size = row.silence_size;
        const pcm_ptr handle = open_pcm(row.flags, config);
        ASSERT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        EXPECT_EQ(fake.software["start_threshold"], row.got_start);
        EXPECT_EQ(fake.software["stop_threshold"], row.got_stop);
        EXPECT_EQ(fake.software["avail_min"], row.got_avail_min);
        EXPECT_EQ(fake.software.count("silence_threshold"), row.silence_threshold != 0 ? 1u : 0u);
        EXPECT_EQ(fake.software.count("silence_size"), row.silence_size != 0 ? 1u : 0u);
        EXPECT_EQ(pcm_get_config(handle.get())->start_threshold, row.got_start);
    }
}

TEST_F(TinyalsaOpen, TheCardMayRaiseThePeriodButNothingElse) {
    pcm_config config = stereo_config();
    config.period_size = 10;
    const pcm_ptr handle = open_pcm(PCM_OUT, config);
    ASSERT_EQ(pcm_is_ready(handle.get()), 1);
    EXPECT_EQ(pcm_get_config(handle.get())->period_size, 64u);
    EXPECT_EQ(pcm_get_buffer_size(handle.get()), 128u);
}

TEST_F(TinyalsaOpen, RefusalsNameTheRequestAndTheOffer) {
    const struct {
        const char* name;
        void (*change)(pcm_config&);
        std::initializer_list<const char*> words;
    } rows[] = {
        {"channels",
         [](pcm_config& c) { c.channels = 7; },
         {"hw:0,0", "playback", "7 channels", "1 to 2 channels, 8000 to 192000 Hz, S16_LE S32_LE",
          "Invalid argument"}},
        {"rate", [](pcm_config& c) { c.rate = 4000; }, {"4000 Hz", "8000 to 192000 Hz"}},
        {"format", [](pcm_config& c) { c.format = PCM_FORMAT_S8; }, {"S8", "S16_LE S32_LE"}},
        {"period count",
         [](pcm_config& c) { c.period_count = 33; },
         {"33 periods", "offers 2 to 32 periods of 64 to 4096 frames"}},
        {"period size",
         [](pcm_config& c) { c.period_size = 5000; },
         {"5000 frames", "offers 2 to 32 periods of 64 to 4096 frames"}},
        {"silence",
         [](pcm_config& c) {
             c.silence_size = 5;
             c.period_size = 481;
         },
         {"refused the thresholds", "periods of 481 frames"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        pcm_config config = stereo_config();
        row.change(config);
        const pcm_ptr handle = open_pcm(PCM_OUT, config);
        EXPECT_EQ(pcm_is_ready(handle.get()), 0);
        EXPECT_EQ(pcm_get_buffer_size(handle.get()), 0u);
        EXPECT_EQ(fake.open_streams, 0) << "a handle that is not ready holds the card";
        expect_error(handle, row.words);
    }
}

TEST_F(TinyalsaOpen, ImpossibleRequestsNeverReachTheCard) {
    const struct {
        const char* name;
        unsigned flags;
        void (*change)(pcm_config&);
        const char* word;
    } rows[] = {
        {"no channels", PCM_OUT, [](pcm_config& c) { c.channels = 0; }, "at least 1 channel"},
        {"no rate", PCM_OUT, [](pcm_config& c) { c.rate = 0; }, "at least 1 Hz"},
        {"huge rate", PCM_OUT, [](pcm_config& c) { c.rate = UINT_MAX; }, "rate"},
        {"empty period", PCM_IN, [](pcm_config& c) { c.period_size = 0; }, "at least 1 period"},
        {"no periods", PCM_OUT, [](pcm_config& c) { c.period_count = 0; }, "at least 1 period"},
        {"huge buffer", PCM_OUT, [](pcm_config& c) { c.period_size = c.period_count = UINT_MAX; },
         "2 GiB"},
        {"huge frame", PCM_OUT, [](pcm_config& c) { c.channels = 0x80000000; }, "2 GiB"},
        {"unknown flag", 0x40, [](pcm_config&) {}, "unknown bits"},
        {"unknown format", PCM_OUT,
         [](pcm_config& c) {
             const int value = -1;
             memcpy(&c.format, &value, sizeof value);
         },
         "none of pcm_format"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        pcm_config config = stereo_config();
        row.change(config);
        const pcm_ptr handle = open_pcm(row.flags, config);
        EXPECT_EQ(pcm_is_ready(handle.get()), 0);
        EXPECT_EQ(fake.calls["open"], 0);
        expect_error(handle, {row.word, "hw:0,0"});
        EXPECT_EQ(pcm_frames_to_bytes(handle.get(), 5), 0u);
        EXPECT_EQ(pcm_bytes_to_frames(handle.get(), 5), 0u);
    }
    const pcm_ptr handle(pcm_open(0, 0, PCM_OUT, nullptr));
    expect_error(handle, {"no configuration"});
}

TEST_F(TinyalsaOpen, FailingOpensSayWhatToDo) {
    const struct {
        int error;
        const char* message;  // of alsa-lib
        std::initializer_list<const char*> words;
    } rows[] = {
        {-ENOENT, "", {"No such file or directory", "aplay -l"}},
        {-EBUSY, "", {"Device or resource busy", "another stream or program"}},
        {-EACCES, "", {"Permission denied", "group audio"}},
        {-EINVAL, "Unknown parameter\nX", {"Unknown parameter?X: Invalid argument"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.error);
        fake.failures["open"] = row.error;
        fake.message = row.message;
        const pcm_ptr handle = open_pcm(PCM_IN, stereo_config());
        EXPECT_EQ(pcm_is_ready(handle.get()), 0);
        expect_error(handle, row.words);
        expect_error(handle, {"hw:0,0 (card 0, device 0) for capture"});
    }
    const scoped_env target("CORVEX_ALSA_CAPTURE", std::string(5000, 'x'));
    expect_error(open_pcm(PCM_IN, stereo_config()), {"xxx", "CORVEX_ALSA_CAPTURE", "Invalid arg"});
}

TEST_F(TinyalsaOpen, GivesEverythingBackWhicheverCallFails) {
    int failing = 1;
    for (;; ++failing) {
        SCOPED_TRACE(failing);
        fake = fake_alsa();
        fake.failing_call = failing;
        const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
        if (fake.fallible_calls < failing) {
            EXPECT_EQ(pcm_is_ready(handle.get()), 1);
            break;
        }
        EXPECT_EQ(pcm_is_ready(handle.get()), 0);
        EXPECT_EQ(fake.open_streams, 0);
        EXPECT_EQ(fake.live_params, 0);
        expect_error(handle, {"cannot open hw:0,0"});
        EXPECT_EQ(pcm_write(handle.get(), "abcd", 4), -EBADFD);
        expect_error(handle, {"cannot open hw:0,0"});
    }
    EXPECT_GT(failing, 15) << "the open made suspiciously few calls";
}

}  // namespace
