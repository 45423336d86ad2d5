// A reader of WAV files that trusts nothing: every size must agree with the file's.
#pragma once

#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

struct wav_contents {
    unsigned channels = 0, rate_hz = 0, byte_rate = 0, block_bytes = 0, bits = 0;
    std::string samples;
};

inline std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline uint32_t little_endian(const std::string& bytes, size_t offset, size_t count) {
    uint32_t value = 0;
    for (size_t i = count; i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(offset + i));
    }
    return value;
}

// Fails the test when the file is no complete WAV file.
inline wav_contents read_wav(const std::string& path) {
    const std::string file = read_file(path);
    wav_contents wav;
    if (file.size() < 44 || file.compare(0, 4, "RIFF") != 0 || file.compare(8, 4, "WAVE") != 0) {
        ADD_FAILURE() << path << " has no WAV header; its size is " << file.size();
        return wav;
    }
    EXPECT_EQ(little_endian(file, 4, 4), file.size() - 8);
    size_t at = 12;
    while (at + 8 <= file.size()) {
        const std::string tag = file.substr(at, 4);
        const uint32_t size = little_endian(file, at + 4, 4);
        at += 8;
        if (size > file.size() - at) {
            ADD_FAILURE() << "chunk " << tag << " of " << size << " bytes passes the file's end";
            return wav;
        }
        if (tag == "fmt ") {
            const uint32_t format = little_endian(file, at, 2);
            wav.channels = little_endian(file, at + 2, 2);
            wav.rate_hz = little_endian(file, at + 4, 4);
            wav.byte_rate = little_endian(file, at + 8, 4);
            wav.block_bytes = little_endian(file, at + 12, 2);
            wav.bits = little_endian(file, at + 14, 2);
            const bool plain = wav.channels <= 2 && wav.bits <= 16;
            EXPECT_EQ(format, plain ? 1u : 0xFFFEu);
            EXPECT_EQ(size, plain ? 16u : 40u);
            if (size == 40) {
                EXPECT_EQ(little_endian(file, at + 18, 2), wav.bits);
                EXPECT_EQ(file.substr(at + 24, 16),
                          std::string("\1\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 16));
            }
        } else if (tag == "data") {
            wav.samples = file.substr(at, size);
        }
        at += size + size % 2;
    }
    EXPECT_EQ(at, file.size());
    return wav;
}
