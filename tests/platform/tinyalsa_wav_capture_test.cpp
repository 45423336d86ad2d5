// Capturing from a WAV file: its frames, then silence, at which pace, over several opens, and while
// it grows.

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sndfile.hh>
#include <sys/stat.h>
#include <vector>

#include "tests/support/scratch_dir.h"
#include "tinyalsa_env.h"

namespace {

std::vector<int16_t> ramp(size_t samples, int first = 0) {
    std::vector<int16_t> result;
    for (size_t i = 0; i < samples; ++i) {
        result.push_back(static_cast<int16_t>(static_cast<int>(i * 37) + first));
    }
    return result;
}

class TinyalsaWavCapture : public testing::Test {
  protected:
    static void make_file(const std::string& path, const std::vector<int16_t>& samples,
                          int channels = 2, int rate = 48000,
                          int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16) {
        SndfileHandle file(path, SFM_WRITE, format, channels, rate);
        file.command(SFC_SET_SCALE_INT_FLOAT_WRITE, nullptr, SF_TRUE);
        file.write(samples.data(), static_cast<sf_count_t>(samples.size()));
        file = {};
        // An inode is soon used again, and the clock of files is coarse: each has a time of its
        // own, so that the library takes none for one that it has read before.
        static std::filesystem::file_time_type stamp = std::filesystem::last_write_time(path);
        std::filesystem::last_write_time(path, stamp += std::chrono::seconds(1));
    }
    // Opens, reads and closes, as a stream does between two standbys.
    std::vector<int16_t> record(size_t frames) {
        const pcm_ptr handle = open_pcm(PCM_IN);
        EXPECT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        return read(handle, frames);
    }
    static std::vector<int16_t> read(const pcm_ptr& handle, size_t frames) {
        std::vector<int16_t> samples(2 * frames, 99);
        EXPECT_EQ(pcm_read(handle.get(), samples.data(), static_cast<unsigned>(4 * frames)), 0);
        return samples;
    }
    static std::vector<int16_t> with_silence(std::vector<int16_t> samples, size_t frames) {
        samples.resize(2 * frames);
        return samples;
    }

    scratch_dir scratch_;
    const scoped_env target_{"CORVEX_ALSA_CAPTURE", "wav:in.wav"};
};

TEST_F(TinyalsaWavCapture, GivesTheFileAndThenSilenceAndGoesOnAtTheNextOpen) {
    const std::vector<int16_t> all = ramp(2 * 1000);
    make_file("in.wav", all);
    const std::vector<int16_t> first = record(300);
    std::filesystem::create_symlink("in.wav", "link.wav");
    std::vector<int16_t> rest;
    {
        const scoped_env other_name("CORVEX_ALSA_CAPTURE", "wav:link.wav");
        rest = record(900);
    }
    EXPECT_TRUE(first == std::vector<int16_t>(all.begin(), all.begin() + 600));
    EXPECT_TRUE(rest == with_silence({all.begin() + 600, all.end()}, 900));
    EXPECT_TRUE(record(10) == with_silence({}, 10)) << "it is at its end, not at its start";
    make_file("in.wav", ramp(2 * 2000, 5));
    EXPECT_TRUE(record(2000) == ramp(2 * 2000, 5)) << "a file that has changed is another one";
}

TEST_F(TinyalsaWavCapture, ConvertsTheSampleFormatOnly) {
    const std::vector<int16_t> all = ramp(2 * 1000);
    const struct {
        int file_format;
        pcm_format format;
        unsigned bytes;
    } rows[] = {
        {SF_FORMAT_WAV | SF_FORMAT_FLOAT, PCM_FORMAT_S16_LE, 2},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_24, PCM_FORMAT_S16_LE, 2},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, PCM_FORMAT_S24_3LE, 3},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, PCM_FORMAT_S32_LE, 4},
        {SF_FORMAT_FLAC | SF_FORMAT_PCM_16, PCM_FORMAT_S32_LE, 4},
    };
    for (const auto& row : rows) {
        // Each file is one of its own, whose beginning nobody has read.
        const std::string name = std::to_string(&row - rows);
        make_file(name, all, 2, 48000, row.file_format);
        const scoped_env target("CORVEX_ALSA_CAPTURE", "wav:" + name);
        const pcm_ptr handle = open_pcm(PCM_IN, {2, 48000, 480, 2, row.format, 0, 0, 0, 0, 0});
        std::string bytes(all.size() * row.bytes, 'x');
        ASSERT_EQ(pcm_read(handle.get(), bytes.data(), static_cast<unsigned>(bytes.size())), 0)
            << pcm_get_error(handle.get());
        for (size_t i = 0; i < all.size(); ++i) {
            const std::string sample = bytes.substr(i * row.bytes, row.bytes);
            const std::string low(row.bytes - 2, '\0');
            ASSERT_EQ(sample, low + std::string(reinterpret_cast<const char*>(&all[i]), 2)) << i;
        }
    }
}

TEST_F(TinyalsaWavCapture, OpensThatCannotWorkSayWhy) {
    make_file("mono.wav", ramp(10), 1);
    make_file("slow.wav", ramp(10), 2, 44100);
    std::ofstream("text.wav") << "no sound at all, but some text";
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const struct {
        const char* target;
        const char* pace;
        std::initializer_list<const char*> words;
    } rows[] = {
        {"wav:", "", {"path", "missing"}},
        {"wav:absent.wav", "", {"absent.wav", "cannot be read", "No such file"}},
        {"wav:mono.wav", "", {"the file has 1 channel at 48000 Hz", "give", "2 channels at 48000"}},
        {"wav:slow.wav", "", {"2 channels at 44100 Hz"}},
        {"wav:text.wav", "", {"no sound"}},
        {"wav:.", "", {"no regular file"}},
        {"wav:fifo", "", {"no regular file"}},
        {"wav:mono.wav", "slow", {"CORVEX_WAV_PACE", "real or free"}},
    };
    for (const auto& row : rows) {
        const scoped_env target("CORVEX_ALSA_CAPTURE", row.target);
        const scoped_env pace("CORVEX_WAV_PACE", row.pace);
        const pcm_ptr handle = open_pcm(PCM_IN);
        EXPECT_EQ(pcm_is_ready(handle.get()), 0) << row.target;
        const std::string text = pcm_get_error(handle.get());
        for (const char* word : row.words) {
            EXPECT_NE(text.find(word), std::string::npos) << word << " in: " << text;
        }
    }
}

TEST_F(TinyalsaWavCapture, AFileThatIsPlayedIntoIsHeardWithoutAGap) {
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "wav:in.wav");
    const pcm_ptr out = open_pcm(PCM_OUT);
    const pcm_ptr in = open_pcm(PCM_IN);
    ASSERT_EQ(pcm_is_ready(in.get()), 1) << pcm_get_error(in.get());
    EXPECT_TRUE(read(in, 10) == with_silence({}, 10));
    const std::vector<int16_t> all = ramp(2 * 500, 1);
    ASSERT_EQ(pcm_write(out.get(), all.data(), 4 * 200), 0);
    EXPECT_TRUE(read(in, 150) == std::vector<int16_t>(all.begin(), all.begin() + 300));
    ASSERT_EQ(pcm_write(out.get(), all.data() + 400, 4 * 300), 0);
    EXPECT_TRUE(read(in, 400) == with_silence({all.begin() + 300, all.end()}, 400));
}

TEST_F(TinyalsaWavCapture, AtTheRealPaceTheBufferFillsFromTheFirstRead) {
    const scoped_env pace("CORVEX_WAV_PACE", "real");
    const std::vector<int16_t> all = ramp(2 * 2000);
    make_file("in.wav", all);
    const pcm_ptr handle = open_pcm(PCM_IN | PCM_MONOTONIC);
    unsigned avail = 99;
    timespec before = {}, after = {};
    EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &before), 0);
    EXPECT_EQ(avail, 0u);
    EXPECT_TRUE(read(handle, 2000) == all) << "nothing is lost however slowly it is read";
    EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &after), 0);
    EXPECT_LE(avail, 960u);
    const double took_s = static_cast<double>(after.tv_sec - before.tv_sec) +
                          static_cast<double>(after.tv_nsec - before.tv_nsec) * 1e-9;
    EXPECT_GE(took_s, 2000.0 / 48000) << "a card cannot give its frames earlier";
    EXPECT_EQ(pcm_stop(handle.get()), 0);
    EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &after), -EBADFD);
    EXPECT_EQ(pcm_start(handle.get()), -EBADFD);
    EXPECT_EQ(pcm_prepare(handle.get()), 0);

    const pcm_ptr impatient = open_pcm(PCM_IN | PCM_NONBLOCK);
    int16_t frame[2];
    EXPECT_EQ(pcm_readi(impatient.get(), frame, 1), -EAGAIN);
}

TEST_F(TinyalsaWavCapture, AtAFreePaceABufferIsAlwaysThere) {
    make_file("in.wav", ramp(20));
    const pcm_ptr handle = open_pcm(PCM_IN);
    unsigned avail = 0;
    timespec stamp = {};
    read(handle, 5000);
    EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
    EXPECT_EQ(avail, 960u);
}

}  // namespace
