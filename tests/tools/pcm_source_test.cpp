#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tools/media/pcm_source.h"

namespace {

std::vector<int16_t> convert(const std::string& path, unsigned channels,
                             size_t piece_frames = 480) {
    audio_file file(path);
    pcm_source source(file, 48000, customary_layout(channels));
    std::vector<int16_t> all;
    std::vector<int16_t> piece(piece_frames * channels);
    size_t got = piece_frames;
    while (got == piece_frames) {
        got = source.read(piece.data(), piece_frames);
        all.insert(all.end(), piece.data(), piece.data() + got * channels);
    }
    EXPECT_EQ(source.read(piece.data(), piece_frames), 0U) << "a short piece is the last one";
    EXPECT_EQ(source.frames_expected(), all.size() / channels);
    return all;
}

TEST(PcmSource, SixteenBitFilesPassBitForBit) {
    const scratch_dir dir;
    const auto samples = noise(8 * 5003);
    for (const int type : {SF_FORMAT_WAV, SF_FORMAT_FLAC, SF_FORMAT_AIFF, SF_FORMAT_RF64}) {
        write_file("in", type | SF_FORMAT_PCM_16, 48000, 8, samples);
        EXPECT_EQ(convert("in", 8), samples) << type;
    }
}

TEST(PcmSource, ChannelsAreMixed) {
    const scratch_dir dir;
    write_file("mono.wav", wav16, 48000, 1, std::vector<int16_t>{1, -32768, 32767});
    EXPECT_EQ(convert("mono.wav", 2), (std::vector<int16_t>{1, 1, -32768, -32768, 32767, 32767}));
    // The file's own map: the third is an LFE, not the centre that three channels customarily have.
    const std::vector<float> frames = {0.5F, -0.25F, 0.75F, 0.125F, 0.25F, -0.75F};
    write_file("in.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 48000, 3, frames,
               {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_LFE});
    EXPECT_EQ(convert("in.wav", 2), (std::vector<int16_t>{16384, -8192, 4096, 8192}));
    EXPECT_EQ(convert("in.wav", 1), (std::vector<int16_t>{4096, 6144}));
}

TEST(PcmSource, SamplesAreRoundedAndClampedAndNanIsSilence) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float lsb = 1.0F / 32768.0F;
    const struct {
        float sample;
        int16_t expected;
        uint64_t clipped;
    } rows[] = {
        {1.0F, 32767, 0},     {-1.0F, -32768, 0},   {1.5F, 32767, 1},
        {infinity, 32767, 1}, {-1.001F, -32768, 1}, {std::nanf(""), 0, 0},
        {0.6F * lsb, 1, 0},   {0.4F * lsb, 0, 0},   {-0.6F * lsb, -1, 0},
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
        {44100, 1, 1},     {44100, 441000, 480000}, {8000, 1, 6},   {96000, 96001, 48001},
        {192000, 100, 25}, {11025, 777, 3383},      {2000, 5, 120}, {768000, 7680, 480},
    };
    const scratch_dir dir;
    for (const auto& row : rows) {
        write_file("in.wav", wav16, row.rate_hz, 1, noise(row.frames));
        EXPECT_EQ(convert("in.wav", 1).size(), row.expected)
            << row.frames << " frames at " << row.rate_hz;
    }
}

TEST(PcmSource, ResamplingKeepsPitchLevelAndTime) {
    const scratch_dir dir;
    const auto sine = [](double rate_hz, size_t frame) {
        return 0.5 * std::sin(2 * M_PI * 997 * static_cast<double>(frame) / rate_hz);
    };
    for (const int rate_hz : {44100, 192000}) {
        std::vector<float> in(static_cast<size_t>(rate_hz));
        for (size_t i = 0; i < in.size(); ++i) {
            in[i] = static_cast<float>(sine(rate_hz, i));
        }
        write_file("in.wav", wav_float, rate_hz, 1, in);
        const auto out = convert("in.wav", 1);
        ASSERT_EQ(out.size(), 48000U);
        double error_power = 0;
        // The first and last milliseconds hold the filter's answer to the sudden start and end.
        for (size_t i = 2400; i < 45600; ++i) {
            error_power += std::pow(out[i] / 32768.0 - sine(48000, i), 2);
        }
        // Half of full scale is -9 dB; a delay of one sample would show as -25 dB.
        EXPECT_LT(10 * std::log10(error_power / 43200), -80) << rate_hz;
    }
}

TEST(PcmSource, HowItIsReadDoesNotChangeWhatIsRead) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 44100, 2, noise(2 * 30011));
    const auto whole = convert("in.wav", 2, 1U << 20);
    EXPECT_EQ(convert("in.wav", 2, 1), whole);
    EXPECT_EQ(convert("in.wav", 2, 2999), whole);
}

}  // namespace
