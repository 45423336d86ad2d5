#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tools/pcm_source.h"
#include "tools/tool_error.h"

namespace {

constexpr int wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int wav_float = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

// Everything the source gives, asked for in pieces of `piece_frames`, or of random size for 0.
std::vector<int16_t> read_all(pcm_source& source, size_t piece_frames) {
    std::mt19937 random(7);
    std::vector<int16_t> all;
    for (;;) {
        const size_t frames = piece_frames != 0 ? piece_frames : 1 + random() % 3000;
        std::vector<int16_t> piece(frames * source.out_channels());
        const size_t got = source.read(piece.data(), frames);
        all.insert(all.end(), piece.data(), piece.data() + got * source.out_channels());
        if (got < frames) {
            EXPECT_EQ(source.read(piece.data(), frames), 0U) << "a short piece is the last one";
            return all;
        }
    }
}

std::vector<int16_t> convert(const std::string& path, unsigned channels,
                             size_t piece_frames = 480) {
    audio_file file(path);
    pcm_source source(file, 48000, customary_layout(channels));
    return read_all(source, piece_frames);
}

TEST(PcmSource, SixteenBitFilesPassBitForBit) {
    const struct {
        int format;
        int channels;
    } rows[] = {
        {wav16, 2},
        {wav16, 6},
        {wav16, 8},
        {SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 2},
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 2},
        {SF_FORMAT_RF64 | SF_FORMAT_PCM_16, 2},
    };
    const scratch_dir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.format) + " with " + std::to_string(row.channels));
        const auto samples = noise(static_cast<size_t>(row.channels) * 5003);
        write_file("in", row.format, 48000, row.channels, samples);
        EXPECT_EQ(convert("in", static_cast<unsigned>(row.channels)), samples);
    }
}

TEST(PcmSource, MonoBecomesTheSameSampleTwice) {
    const scratch_dir dir;
    const auto samples = noise(3001);
    write_file("in.wav", wav16, 48000, 1, samples);
    const auto out = convert("in.wav", 2);
    ASSERT_EQ(out.size(), 2 * samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        ASSERT_EQ(out[2 * i], samples[i]);
        ASSERT_EQ(out[2 * i + 1], samples[i]);
    }
}

TEST(PcmSource, SamplesAreRoundedAndClampedAndNanIsSilence) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float lsb = 1.0F / 32768.0F;
    const struct {
        float sample;
        int16_t expected;
        uint64_t clipped;
    } rows[] = {
        {0, 0, 0},          {1.0F, 32767, 0},       {-1.0F, -32768, 0},
        {1.5F, 32767, 1},   {-1.001F, -32768, 1},   {infinity, 32767, 1},
        {nan, 0, 0},        {-infinity, -32768, 1}, {0.6F * lsb, 1, 0},
        {0.4F * lsb, 0, 0}, {-0.6F * lsb, -1, 0},   {32766.7F * lsb, 32767, 0},
    };
    for (const auto& row : rows) {
        uint64_t clipped = 0;
        EXPECT_EQ(to_int16(row.sample, clipped), row.expected) << row.sample;
        EXPECT_EQ(clipped, row.clipped) << row.sample;
    }
}

TEST(PcmSource, ResampledLengthIsExact) {
    const struct {
        int rate_hz;
        size_t frames;
        size_t expected;
    } rows[] = {
        {44100, 44100, 48000}, {44100, 1, 1},         {44100, 441000, 480000}, {8000, 8000, 48000},
        {8000, 1, 6},          {96000, 96001, 48001}, {192000, 100, 25},       {11025, 777, 3383},
        {47999, 47999, 48000}, {96000, 1, 1},         {2000, 5, 120},          {768000, 7680, 480},
    };
    const scratch_dir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.frames) + " frames at " + std::to_string(row.rate_hz));
        write_file("in.wav", wav16, row.rate_hz, 1, noise(row.frames));
        audio_file file("in.wav");
        pcm_source source(file, 48000, customary_layout(1));
        EXPECT_EQ(source.frames_expected(), row.expected);
        EXPECT_EQ(read_all(source, 480).size(), row.expected);
    }
}

TEST(PcmSource, ResamplingKeepsPitchLevelAndTime) {
    const scratch_dir dir;
    for (const int rate_hz : {44100, 8000, 96000, 192000}) {
        SCOPED_TRACE(rate_hz);
        write_file("in.wav", wav_float, rate_hz, 1,
                   sine(997, rate_hz, static_cast<size_t>(rate_hz)));
        const auto out = convert("in.wav", 1);
        const auto ideal = sine(997, 48000, 48000);
        ASSERT_EQ(out.size(), ideal.size());
        double error_power = 0;
        // The first and last milliseconds hold the filter's answer to the sudden start and end.
        for (size_t i = 2400; i < 45600; ++i) {
            error_power += std::pow(out[i] / 32768.0 - static_cast<double>(ideal[i]), 2);
        }
        // Half of full scale is -9 dB; a delay of one sample would show as -25 dB.
        EXPECT_LT(10 * std::log10(error_power / 43200), -80);
    }
}

TEST(PcmSource, HowItIsReadDoesNotChangeWhatIsRead) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 44100, 2, noise(2 * 30011));
    const auto whole = convert("in.wav", 2, 1U << 20);
    EXPECT_EQ(convert("in.wav", 2, 1), whole);
    EXPECT_EQ(convert("in.wav", 2, 480), whole);
    EXPECT_EQ(convert("in.wav", 2, 0), whole);
}

TEST(PcmSource, TheFilesOwnChannelMapIsFollowed) {
    const scratch_dir dir;
    // The third channel is an LFE here, not the centre that three channels customarily have.
    const std::vector<float> frames = {0.5F, -0.25F, 0.75F, 0.125F, 0.25F, -0.75F};
    write_file("in.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 48000, 3, frames,
               {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_LFE});
    const std::vector<int16_t> expected = {16384, -8192, 4096, 8192};
    EXPECT_EQ(convert("in.wav", 2), expected);
}

TEST(AudioFile, RefusesWhatItCannotPlay) {
    const scratch_dir dir;
    write_file("nine.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 48000, 9, noise(90));
    write_file("slow.wav", wav16, 1999, 1, noise(10));
    write_file("fast.wav", wav16, 768001, 1, noise(10));
    const struct {
        const char* path;
        const char* says;
    } rows[] = {
        {"nine.wav", "9 channels"},
        {"slow.wav", "1999 Hz"},
        {"fast.wav", "768001 Hz"},
        {"/dev/null", "not a regular file"},
        {"nine.wav/below", "there is no file"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        try {
            const audio_file file(row.path);
            ADD_FAILURE() << "was opened";
        } catch (const tool_error& error) {
            EXPECT_NE(std::string(error.what()).find(row.says), std::string::npos) << error.what();
        }
    }
}

TEST(AudioFile, DamageInTheMiddleIsReported) {
    const scratch_dir dir;
    write_file("in.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 48000, 2, noise(2 * 48000));
    std::string bytes = read_bytes("in.flac");
    bytes.resize(bytes.size() / 2);
    write_bytes("in.flac", bytes);
    audio_file file("in.flac");
    pcm_source source(file, 48000, customary_layout(2));
    std::vector<int16_t> out(2 * 96000);
    bool told = false;
    try {
        source.read(out.data(), 96000);
    } catch (const tool_error&) {
        told = true;
    }
    EXPECT_TRUE(told || source.file_frames_read() < file.frames());
}

}  // namespace
