// Playing into a WAV file: what is in it, when, and over several opens.

#include <atomic>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <thread>
#include <unistd.h>

#include "tests/support/scratch_dir.h"
#include "tinyalsa_env.h"
#include "tinyalsa_wav_reader.h"

namespace {

std::string noise(size_t bytes, unsigned seed) {
    std::string data(bytes, '\0');
    for (char& byte : data) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<char>(seed >> 24);
    }
    return data;
}

int write_all(const pcm_ptr& handle, const std::string& data) {
    return pcm_write(handle.get(), data.data(), static_cast<unsigned>(data.size()));
}

class TinyalsaWav : public testing::Test {
  protected:
    // Opens, writes and closes, as a stream does between two standbys.
    void play(const std::string& path, const std::string& data,
              const pcm_config& config = stereo_config()) {
        const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:" + path);
        const pcm_ptr handle = open_pcm(PCM_OUT, config);
        ASSERT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        EXPECT_EQ(write_all(handle, data), 0) << pcm_get_error(handle.get());
    }

    scratch_dir scratch_;
};

TEST_F(TinyalsaWav, HoldsExactlyWhatWasWrittenAfterEveryWrite) {
    const struct {
        unsigned channels, rate;
        pcm_format format;
        unsigned bits;
    } rows[] = {
        {2, 48000, PCM_FORMAT_S16_LE, 16},  {1, 8000, PCM_FORMAT_S16_LE, 16},
        {6, 48000, PCM_FORMAT_S16_LE, 16},  {2, 192000, PCM_FORMAT_S32_LE, 32},
        {1, 44100, PCM_FORMAT_S24_3LE, 24},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.channels << " x " << row.bits << " bits");
        pcm_config config = stereo_config();
        config.channels = row.channels;
        config.rate = row.rate;
        config.format = row.format;
        const std::string path = std::to_string(row.channels) + "-" + std::to_string(row.bits);
        const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:" + path);
        const pcm_ptr handle = open_pcm(PCM_OUT, config);
        ASSERT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        EXPECT_EQ(read_wav(path).samples, "");
        std::string all;
        for (const unsigned frames : {1u, 480u, 960u, 5000u, 3u}) {
            const std::string data = noise(pcm_frames_to_bytes(handle.get(), frames), frames);
            ASSERT_EQ(write_all(handle, data), 0);
            all += data;
            const wav_contents wav = read_wav(path);
            EXPECT_TRUE(wav.samples == all) << wav.samples.size() << " of " << all.size();
            EXPECT_EQ(wav.channels, row.channels);
            EXPECT_EQ(wav.rate_hz, row.rate);
            EXPECT_EQ(wav.bits, row.bits);
            EXPECT_EQ(wav.block_bytes, row.channels * row.bits / 8);
            EXPECT_EQ(wav.byte_rate, row.rate * row.channels * row.bits / 8);
        }
    }
}

TEST_F(TinyalsaWav, ReopeningContinuesTheFileUnderAnyOfItsNames) {
    const std::string first = noise(400, 1);
    const std::string second = noise(44, 2);
    const std::string third = noise(8, 3);
    play("a.wav", first);
    play("./a.wav", second);
    std::filesystem::create_symlink("a.wav", "link.wav");
    play("link.wav", third);
    play("a.wav", "");
    EXPECT_TRUE(read_wav("a.wav").samples == first + second + third);
}

TEST_F(TinyalsaWav, ReopeningContinuesBehindAnOddNumberOfBytes) {
    pcm_config config = stereo_config();
    config.channels = 1;
    config.format = PCM_FORMAT_S24_3LE;
    std::string all;
    for (unsigned frames = 1; frames < 5; ++frames) {
        const std::string data = noise(frames * 3, frames);
        play("odd.wav", data, config);
        all += data;
        EXPECT_EQ(read_wav("odd.wav").samples, all);
    }
}

TEST_F(TinyalsaWav, ReopeningWithAnotherLayoutFailsAndLeavesTheFileAlone) {
    play("a.wav", noise(400, 1));
    const std::string before = read_file("a.wav");
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    void (*const changes[])(pcm_config&) = {
        [](pcm_config& c) { c.channels = 1; },
        [](pcm_config& c) { c.rate = 44100; },
        [](pcm_config& c) { c.format = PCM_FORMAT_S32_LE; },
    };
    for (const auto& change : changes) {
        pcm_config config = stereo_config();
        change(config);
        const pcm_ptr handle = open_pcm(PCM_OUT, config);
        EXPECT_EQ(pcm_is_ready(handle.get()), 0);
        expect_error(handle, {"a.wav", "another rate, format or channel count"});
        EXPECT_TRUE(read_file("a.wav") == before);
    }
    pcm_config longer = stereo_config();
    longer.period_size = 1024;  // not part of what is in the file
    play("a.wav", noise(40, 2), longer);
    EXPECT_EQ(read_wav("a.wav").samples.size(), 440u);
}

TEST_F(TinyalsaWav, FilesThatThisProcessDidNotLeaveSoAreStartedOver) {
    std::ofstream("old.wav") << std::string(5000, 'o');
    play("old.wav", noise(400, 1));
    EXPECT_TRUE(read_wav("old.wav").samples == noise(400, 1));

    std::ofstream("old.wav", std::ios::app) << "x";
    play("old.wav", noise(40, 2));
    EXPECT_TRUE(read_wav("old.wav").samples == noise(40, 2));

    std::filesystem::remove("old.wav");
    play("old.wav", noise(4, 3));
    EXPECT_TRUE(read_wav("old.wav").samples == noise(4, 3));
}

TEST_F(TinyalsaWav, PathsAreTakenAsTheyStand) {
    const char* const names[] = {
        "with blank.wav", "a,b.wav",          "it's.wav",  "say \"hi\".wav", "back\\slash.wav",
        "-dash.wav",      "{type null}",      "a:b:c.wav", "line\nend.wav",  "wav:",
        "%s%n$HOME.wav",  "\xC3\xA4\xFF.wav", " "};
    for (const char* name : names) {
        SCOPED_TRACE(name);
        play(name, noise(400, 1));
        EXPECT_TRUE(read_wav(name).samples == noise(400, 1));
        EXPECT_TRUE(std::filesystem::exists(name));
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}),
              std::distance(std::begin(names), std::end(names)));
}

TEST_F(TinyalsaWav, AFreePaceLeavesTheBufferEmpty) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    const pcm_ptr handle = open_pcm(PCM_OUT | PCM_MONOTONIC, stereo_config());
    EXPECT_EQ(write_all(handle, noise(40000, 1)), 0);
    timespec before = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    unsigned avail = 0;
    timespec stamp = {};
    ASSERT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
    EXPECT_EQ(avail, 960u);
    EXPECT_GE(stamp.tv_sec, before.tv_sec);
    EXPECT_LE(stamp.tv_sec, before.tv_sec + 100) << "not the monotonic clock";
}

TEST_F(TinyalsaWav, StoppingEndsThePositionUntilTheNextFrames) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
    unsigned avail = 77;
    timespec stamp = {};
    EXPECT_EQ(pcm_stop(handle.get()), 0);
    EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), -EBADFD);
    EXPECT_EQ(avail, 77u);
    EXPECT_EQ(pcm_start(handle.get()), -EBADFD);
    EXPECT_EQ(write_all(handle, noise(4, 1)), 0);
    EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
}

// At one frame a second nothing plays within a test.
TEST_F(TinyalsaWav, ARealPaceFillsTheBuffer) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    const scoped_env pace("CORVEX_WAV_PACE", "real");
    pcm_config config = stereo_config();
    config.rate = 1;
    config.period_size = 5000;
    const pcm_ptr handle = open_pcm(PCM_OUT | PCM_NONBLOCK, config);
    const std::string data = noise(20000 * 4, 1);
    EXPECT_EQ(pcm_writei(handle.get(), data.data(), 20000), 10000);
    unsigned avail = UINT_MAX;
    timespec stamp = {};
    ASSERT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
    EXPECT_LT(avail, 5000u);
    EXPECT_LT(pcm_writei(handle.get(), data.data(), 20000), 5000);
    EXPECT_EQ(write_all(handle, data), -EAGAIN);
    EXPECT_EQ(pcm_stop(handle.get()), 0);
    EXPECT_EQ(pcm_writei(handle.get(), data.data(), 20000), 10000) << "a stop drops the queue";
}

TEST_F(TinyalsaWav, PositionsMayBeAskedForWhileAPacedWriteWaits) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    const scoped_env pace("CORVEX_WAV_PACE", "real");
    const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
    const std::string data = noise(960 * 4 * 8, 1);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        EXPECT_EQ(write_all(handle, data), 0);
        done = true;
    });
    bool seen_queued = false;
    while (!done) {
        unsigned avail = UINT_MAX;
        timespec stamp = {};
        EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
        EXPECT_LE(avail, 960u);
        seen_queued = seen_queued || avail < 960;
        std::this_thread::yield();
    }
    writer.join();
    EXPECT_TRUE(seen_queued);
    EXPECT_TRUE(read_wav("a.wav").samples == data);
}

}  // namespace
