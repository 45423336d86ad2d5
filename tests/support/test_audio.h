// Bytes to play, and what became of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

// Samples that differ from each other and from seed to seed.
inline std::string audio(size_t bytes, uint32_t seed = 1) {
    std::string samples(bytes, '\0');
    uint32_t state = seed * 2654435761U + 1;
    for (char& byte : samples) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return samples;
}

// "" for a file that is not there.
inline std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
