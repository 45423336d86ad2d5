// What is in a WAV file, as libsndfile reads it.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <string>
#include <vector>

#include "player_service/playback/audio_format.h"

struct wav_contents {
    explicit wav_contents(const std::string& path) {
        SF_INFO info = {};
        SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
        if (file == nullptr) {
            ADD_FAILURE() << path << ": " << sf_strerror(nullptr);
            return;
        }
        format = {static_cast<unsigned>(info.channels), static_cast<uint32_t>(info.samplerate)};
        samples.resize(static_cast<size_t>(info.frames * info.channels));
        EXPECT_EQ(sf_readf_short(file, samples.data(), info.frames), info.frames) << path;
        sf_close(file);
    }
    size_t frames() const { return format.channels == 0 ? 0 : samples.size() / format.channels; }

    player_service::audio_format format;
    std::vector<int16_t> samples;
};
