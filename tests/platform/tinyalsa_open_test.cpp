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
        EXPECT_EQ(fake.live, 0);
        EXPECT_EQ(fake.error_handler, nullptr) << "the thread's error handler was not put back";
    }
};

TEST_F(TinyalsaOpen, TheRequestReachesTheCardAsItIs) {
    const scoped_env capture("CORVEX_ALSA_CAPTURE", "microphone");
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "");  // counts as unset
    const struct {
        unsigned flags;
        const char* name;
        bool blocking;
        snd_pcm_access_t access;
        snd_pcm_tstamp_type_t clock;
    } rows[] = {
        {PCM_OUT, "hw:3,5", true, SND_PCM_ACCESS_RW_INTERLEAVED, SND_PCM_TSTAMP_TYPE_GETTIMEOFDAY},
        {PCM_IN | PCM_NONBLOCK | PCM_MMAP | PCM_MONOTONIC, "microphone", false,
         SND_PCM_ACCESS_MMAP_INTERLEAVED, SND_PCM_TSTAMP_TYPE_MONOTONIC},
    };
    for (const auto& row : rows) {
        const pcm_ptr handle(pcm_open(3, 5, row.flags, &kStereo));
        EXPECT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        EXPECT_STREQ(pcm_get_error(handle.get()), "");
        EXPECT_EQ(fake.name, row.name);
        EXPECT_FALSE(fake.opened_blocking) << "an open of a device in use would wait";
        EXPECT_EQ(fake.blocking, row.blocking);
        EXPECT_EQ(fake.direction != SND_PCM_STREAM_PLAYBACK, (row.flags & PCM_IN) != 0);
        EXPECT_EQ(fake.set["access"], row.access);
        EXPECT_EQ(fake.set["clock"], row.clock);
        EXPECT_EQ(fake.set["stamps"], SND_PCM_TSTAMP_ENABLE);
        EXPECT_EQ(fake.set["channels"], 2u);
        EXPECT_EQ(fake.set["rate"], 48000u);
        EXPECT_EQ(fake.set["periods"], 2u);
    }
}

TEST_F(TinyalsaOpen, FormatsReachTheCardAsTheyAre) {
    const snd_pcm_format_t expected[] = {SND_PCM_FORMAT_S16_LE, SND_PCM_FORMAT_S32_LE,
                                         SND_PCM_FORMAT_S8, SND_PCM_FORMAT_S24_LE,
                                         SND_PCM_FORMAT_S24_3LE};
    const unsigned sizes[] = {16, 32, 8, 32, 24};
    for (const pcm_format format : {PCM_FORMAT_S16_LE, PCM_FORMAT_S32_LE, PCM_FORMAT_S8,
                                    PCM_FORMAT_S24_LE, PCM_FORMAT_S24_3LE}) {
        fake.formats = {expected[format]};
        const pcm_ptr handle = open_pcm(PCM_OUT, {2, 48000, 480, 2, format, 0, 0, 0, 0, 0});
        EXPECT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        const unsigned bits = sizes[format];
        EXPECT_EQ(pcm_format_to_bits(format), bits);
        EXPECT_EQ(pcm_frames_to_bytes(handle.get(), 10), 10 * 2 * bits / 8);
        EXPECT_EQ(pcm_bytes_to_frames(handle.get(), 11 * bits / 4 - 1), 10u);
        EXPECT_EQ(pcm_frames_to_bytes(handle.get(), UINT_MAX), UINT_MAX) << "clipped";
    }
}

TEST_F(TinyalsaOpen, PeriodsAndThresholdsReachTheCard) {
    const struct {
        unsigned flags;
        pcm_config asked;
        unsigned long period, start, stop, avail_min;
    } rows[] = {
        {PCM_OUT, {2, 48000, 480, 2, {}, 0, 0, 0, 0, 0}, 480, 480, 960, 480},
        {PCM_IN, {2, 48000, 480, 2, {}, 0, 0, 0, 0, 0}, 480, 1, 9600, 480},
        {PCM_OUT, {2, 48000, 481, 4, {}, 0, 0, 0, 0, 0}, 496, 992, 1984, 496},
        {PCM_OUT, {2, 48000, 10, 2, {}, 0, 0, 0, 0, 0}, 64, 64, 128, 64},
        {PCM_OUT, {2, 48000, 480, 2, {}, 7, 900, 100, 100, 48}, 480, 7, 900, 48},
        {PCM_OUT, {2, 48000, 480, 2, {}, 0, ULONG_MAX, 0, 0, 0}, 480, 480, 1ul << 30, 480},
        {PCM_OUT, {2, 48000, 480, 2, {}, 5000, 5000, 0, 0, 5000}, 480, 960, 5000, 960},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        fake = fake_alsa();
        const pcm_ptr handle = open_pcm(row.flags, row.asked);
        EXPECT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        EXPECT_EQ(fake.set["start"], row.start);
        EXPECT_EQ(fake.set["stop"], row.stop);
        EXPECT_EQ(fake.set["avail_min"], row.avail_min);
        EXPECT_EQ(fake.set["silence"], row.asked.silence_threshold);
        EXPECT_EQ(fake.set["silence_size"], row.asked.silence_size);
        EXPECT_EQ(pcm_get_config(handle.get())->start_threshold, row.start);
        EXPECT_EQ(pcm_get_config(handle.get())->period_size, row.period);
        EXPECT_EQ(pcm_get_buffer_size(handle.get()), row.period * row.asked.period_count);
    }
}

TEST_F(TinyalsaOpen, RefusalsNameTargetRequestAndOffer) {
    const char* const periods = "offers 2 to 32 periods of 64 to 4096 frames";
    const struct {
        bool reaches_card;
        unsigned flags;
        pcm_config asked;
        std::initializer_list<const char*> words;
    } rows[] = {
        {true,
         PCM_OUT,
         {7, 48000, 480, 2, {}, 0, 0, 0, 0, 0},
         {"card 0, device 0", "playback", "7 channels", "Invalid argument",
          "1 to 2 channels, 8000 to 192000 Hz, S16_LE S32_LE"}},
        {true, PCM_IN, {2, 4000, 480, 2, {}, 0, 0, 0, 0, 0}, {"capture", "4000 Hz", "8000 to"}},
        {true, PCM_OUT, {2, 48000, 480, 2, PCM_FORMAT_S8, 0, 0, 0, 0, 0}, {"S8", "S16_LE S32_LE"}},
        {true, PCM_OUT, {2, 48000, 480, 33, {}, 0, 0, 0, 0, 0}, {"33 periods", periods}},
        {true, PCM_OUT, {2, 48000, 5000, 2, {}, 0, 0, 0, 0, 0}, {"5000 frames", periods}},
        {false, PCM_OUT, {0, 48000, 480, 2, {}, 0, 0, 0, 0, 0}, {"at least 1 channel"}},
        {false, PCM_OUT, {2, 0, 480, 2, {}, 0, 0, 0, 0, 0}, {"at least 1 Hz"}},
        {false, PCM_OUT, {2, 48000, 0, 2, {}, 0, 0, 0, 0, 0}, {"at least 1 period"}},
        {false, PCM_OUT, {2, 48000, 480, 0, {}, 0, 0, 0, 0, 0}, {"at least 1 period"}},
        {false, PCM_OUT, {2, 48000, UINT_MAX, UINT_MAX, {}, 0, 0, 0, 0, 0}, {"2 GiB"}},
        {false, 0x40, kStereo, {"unknown bits"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        fake = fake_alsa();
        const pcm_ptr handle = open_pcm(row.flags, row.asked);
        expect_refused(handle, {"hw:0,0"});
        expect_refused(handle, row.words);
        EXPECT_EQ(fake.calls["open"], row.reaches_card ? 1 : 0);
        EXPECT_EQ(fake.live, 0) << "a handle that is not ready holds the card";
        EXPECT_EQ(pcm_get_buffer_size(handle.get()), 0u);
    }
    expect_refused(pcm_ptr(pcm_open(0, 0, PCM_OUT, nullptr)), {"no configuration"});
}

TEST_F(TinyalsaOpen, FailingOpensSayWhatToDo) {
    const struct {
        int error;
        const char* message;  // of alsa-lib
        std::initializer_list<const char*> words;
    } rows[] = {
        {-ENOENT, "", {"No such file or directory", "aplay -l", "hw:0,0"}},
        {-EBUSY, "", {"Device or resource busy", "another stream or program"}},
        {-EACCES, "", {"Permission denied", "group audio"}},
        {-EINVAL, "Unknown parameter\nX", {"Unknown parameter?X: Invalid argument"}},
    };
    for (const auto& row : rows) {
        fake.failures["open"] = row.error;
        fake.message = row.message;
        expect_refused(open_pcm(PCM_IN), row.words);
    }
    const scoped_env target("CORVEX_ALSA_CAPTURE", std::string(5000, 'x'));
    expect_refused(open_pcm(PCM_IN), {"xxx", "CORVEX_ALSA_CAPTURE", "Invalid argument"});
}

TEST_F(TinyalsaOpen, GivesEverythingBackWhicheverCallFails) {
    int failing = 1;
    for (;; ++failing) {
        SCOPED_TRACE(failing);
        fake = fake_alsa();
        fake.failing_call = failing;
        const pcm_ptr handle = open_pcm(PCM_OUT);
        if (fake.fallible_calls < failing) {
            EXPECT_EQ(pcm_is_ready(handle.get()), 1);
            break;
        }
        EXPECT_EQ(fake.live, 0);
        expect_refused(handle, {"cannot open hw:0,0"});
    }
    EXPECT_GT(failing, 15) << "the open made suspiciously few calls";
}

}  // namespace
