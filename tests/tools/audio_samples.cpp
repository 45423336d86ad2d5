#include "tests/tools/audio_samples.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <random>

namespace {

using file_handle = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

file_handle create(const std::string& path, int format, int rate_hz, int channels) {
    SF_INFO info{};
    info.samplerate = rate_hz;
    info.channels = channels;
    info.format = format;
    file_handle file(sf_open(path.c_str(), SFM_WRITE, &info), sf_close);
    EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    return file;
}

}  // namespace

std::vector<int16_t> noise(size_t samples, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<int16_t> result(samples);
    for (int16_t& sample : result) {
        sample = static_cast<int16_t>(static_cast<int>(random() & 0xFFFF) - 32768);
    }
    return result;
}

std::vector<float> sine(double frequency_hz, double rate_hz, size_t frames) {
    std::vector<float> result(frames);
    for (size_t i = 0; i < frames; ++i) {
        result[i] = static_cast<float>(
            0.5 * std::sin(2 * M_PI * frequency_hz * static_cast<double>(i) / rate_hz));
    }
    return result;
}

void write_file(const std::string& path, int format, int rate_hz, int channels,
                const std::vector<int16_t>& samples) {
    const file_handle file = create(path, format, rate_hz, channels);
    ASSERT_NE(file, nullptr);
    const auto count = static_cast<sf_count_t>(samples.size());
    ASSERT_EQ(sf_write_short(file.get(), samples.data(), count), count);
}

void write_file(const std::string& path, int format, int rate_hz, int channels,
                const std::vector<float>& samples, const std::vector<int>& channel_map) {
    const file_handle file = create(path, format, rate_hz, channels);
    ASSERT_NE(file, nullptr);
    if (!channel_map.empty()) {
        std::vector<int> map = channel_map;
        ASSERT_EQ(sf_command(file.get(), SFC_SET_CHANNEL_MAP_INFO, map.data(),
                             static_cast<int>(map.size() * sizeof(int))),
                  SF_TRUE);
    }
    const auto count = static_cast<sf_count_t>(samples.size());
    ASSERT_EQ(sf_write_float(file.get(), samples.data(), count), count);
}

read_back read_file(const std::string& path) {
    SF_INFO info{};
    const file_handle file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (file == nullptr) {
        ADD_FAILURE() << path << ": " << sf_strerror(nullptr);
        return {};
    }
    read_back result{info.samplerate, info.channels, {}};
    result.samples.resize(static_cast<size_t>(info.frames) * static_cast<size_t>(info.channels));
    const auto count = static_cast<sf_count_t>(result.samples.size());
    EXPECT_EQ(sf_read_short(file.get(), result.samples.data(), count), count);
    return result;
}

std::string read_bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write_bytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
