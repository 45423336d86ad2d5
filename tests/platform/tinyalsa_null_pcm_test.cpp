// The real alsa-lib, as far as it goes on a machine without a sound card.

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

#include "tinyalsa_env.h"

namespace {

TEST(TinyalsaNullPcm, PlaysAndCapturesThroughTheNullDevice) {
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "null");
    const scoped_env capture("CORVEX_ALSA_CAPTURE", "null");
    for (const unsigned flags : {unsigned{PCM_OUT}, unsigned{PCM_IN}}) {
        SCOPED_TRACE(flags);
        pcm_config config = stereo_config();
        config.stop_threshold = 0x7FFFFFFF;
        const pcm_ptr handle = open_pcm(flags | PCM_MONOTONIC, config);
        ASSERT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        EXPECT_EQ(pcm_get_buffer_size(handle.get()), 960u);
        std::vector<char> data(5000 * 4);
        EXPECT_EQ(flags == PCM_OUT ? pcm_write(handle.get(), data.data(), 20000)
                                   : pcm_read(handle.get(), data.data(), 20000),
                  0);
        unsigned avail = 0;
        timespec stamp = {};
        ASSERT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        EXPECT_LE(stamp.tv_sec, now.tv_sec);
        EXPECT_EQ(pcm_stop(handle.get()), 0);
        EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), -EBADFD);
        EXPECT_EQ(pcm_prepare(handle.get()), 0);
        EXPECT_EQ(pcm_start(handle.get()), 0);
    }
}

TEST(TinyalsaNullPcm, TakesAWholeDefinitionAsItsTarget) {
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "plug:{SLAVE={type null}}");
    const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
    EXPECT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
}

TEST(TinyalsaNullPcm, FailingOpensKeepStandardErrorClean) {
    testing::internal::CaptureStderr();
    const pcm_config config = stereo_config();
    const pcm_ptr card(pcm_open(31, 7, PCM_OUT, &config));
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "no_such_pcm_anywhere");
    const pcm_ptr named(pcm_open(0, 0, PCM_OUT, &config));
    const scoped_env capture("CORVEX_ALSA_CAPTURE", "plug:{\"");
    const pcm_ptr broken(pcm_open(0, 0, PCM_IN, &config));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(pcm_is_ready(card.get()) + pcm_is_ready(named.get()) + pcm_is_ready(broken.get()), 0);
    expect_error(card, {"hw:31,7 (card 31, device 7)", "No such", "aplay -l"});
    expect_error(named, {"Unknown PCM no_such_pcm_anywhere", "CORVEX_ALSA_PLAYBACK"});
    expect_error(broken, {"CORVEX_ALSA_CAPTURE", "Invalid argument"});
}

TEST(TinyalsaNullPcm, PositionsMayBeAskedForDuringWrites) {
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "null");
    const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
    ASSERT_EQ(pcm_is_ready(handle.get()), 1);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        const std::vector<char> data(960 * 4);
        for (int i = 0; i < 2000; ++i) {
            EXPECT_EQ(pcm_write(handle.get(), data.data(), 960 * 4), 0);
        }
        done = true;
    });
    while (!done) {
        unsigned avail = 0;
        timespec stamp = {};
        EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
    }
    writer.join();
}

}  // namespace
