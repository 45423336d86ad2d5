// AC-3 and E-AC-3 to play, made by FFmpeg's encoders, with what FFmpeg decodes from each of its
// frames on its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "player_service/playback/audio_format.h"

struct encoded_frame {
    std::vector<uint8_t> bytes;
    std::vector<int16_t> samples;  // as FFmpeg decodes it behind the frames before
};

enum class codec { ac3, eac3 };

// Loud noise and tones, other ones for each seed; full scale is reached, so that clamping shows.
std::vector<encoded_frame> encode(codec which, const player_service::audio_format& format,
                                  size_t frames, uint32_t seed = 1);

std::vector<uint8_t> bytes_of(const std::vector<encoded_frame>& frames);
std::vector<int16_t> samples_of(const std::vector<encoded_frame>& frames);
