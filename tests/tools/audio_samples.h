// Sound for tests, and files of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sndfile.h>
#include <string>
#include <vector>

// Every 16-bit value may occur; the same for the same seed.
std::vector<int16_t> noise(size_t samples, unsigned seed = 1);

// One channel at half of full scale.
std::vector<float> sine(double frequency_hz, double rate_hz, size_t frames);

// `format` is libsndfile's, such as SF_FORMAT_WAV | SF_FORMAT_PCM_16. `channel_map`, where given,
// holds one of libsndfile's map values for each channel. Fail the running test on an error.
void write_file(const std::string& path, int format, int rate_hz, int channels,
                const std::vector<int16_t>& samples);
void write_file(const std::string& path, int format, int rate_hz, int channels,
                const std::vector<float>& samples, const std::vector<int>& channel_map = {});

struct read_back {
    int rate_hz = 0;
    int channels = 0;
    std::vector<int16_t> samples;
};
read_back read_file(const std::string& path);

std::string read_bytes(const std::string& path);
void write_bytes(const std::string& path, const std::string& bytes);
