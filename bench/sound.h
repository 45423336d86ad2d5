// Samples to work on: always the same.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

inline std::vector<int16_t> noise(size_t samples) {
    std::mt19937 random(1);
    std::vector<int16_t> sound(samples);
    for (int16_t& sample : sound) {
        sample = static_cast<int16_t>(random());
    }
    return sound;
}
