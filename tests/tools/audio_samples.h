// Sound for tests, and files of it.
#pragma once

#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <sndfile.hh>
#include <string>
#include <vector>

constexpr int wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int wav_float = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

// Every 16-bit value may occur; the same at each call.
inline std::vector<int16_t> noise(size_t samples) {
    std::mt19937 random(1);
    std::vector<int16_t> result(samples);
    for (int16_t& sample : result) {
        sample = static_cast<int16_t>(static_cast<int>(random() & 0xFFFF) - 32768);
    }
    return result;
}

// `format` is libsndfile's. `channel_map`, where given, holds one of libsndfile's map values for
// each channel.
template <typename Sample>
void write_file(const std::string& path, int format, int rate_hz, int channels,
                const std::vector<Sample>& samples, std::vector<int> channel_map = {}) {
    SndfileHandle file(path, SFM_WRITE, format, channels, rate_hz);
    file.command(SFC_SET_CHANNEL_MAP_INFO, channel_map.data(),
                 static_cast<int>(channel_map.size() * sizeof(int)));
    const auto count = static_cast<sf_count_t>(samples.size());
    ASSERT_EQ(file.write(samples.data(), count), count) << path;
}

inline std::vector<int16_t> read_samples(const std::string& path) {
    SndfileHandle file(path);
    std::vector<int16_t> samples(static_cast<size_t>(file.frames() * file.channels()));
    file.read(samples.data(), static_cast<sf_count_t>(samples.size()));
    return samples;
}

inline std::string read_bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void write_bytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
