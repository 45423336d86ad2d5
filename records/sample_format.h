// Sample sizes of the audio formats whose frames have a fixed size.
#pragma once

#include <stdint.h>

#include <system/audio.h>

// Bytes of one sample; 0 for a format without a fixed sample size and for an unknown one.
inline uint32_t bytes_per_sample(audio_format_t format) {
    switch (static_cast<uint32_t>(format)) {
        case AUDIO_FORMAT_PCM_8_BIT:
            return 1;
        case AUDIO_FORMAT_PCM_16_BIT:
        case AUDIO_FORMAT_IEC61937:
            return 2;
        case AUDIO_FORMAT_PCM_24_BIT_PACKED:
            return 3;
        case AUDIO_FORMAT_PCM_32_BIT:
        case AUDIO_FORMAT_PCM_8_24_BIT:
        case AUDIO_FORMAT_PCM_FLOAT:
            return 4;
        default:
            return 0;
    }
}

// Linear PCM and IEC 61937 carry samples of one size; every other format is a stream of bytes.
inline bool has_sample_frames(audio_format_t format) {
    const uint32_t main_part = static_cast<uint32_t>(format) & AUDIO_FORMAT_MAIN_MASK;
    return main_part == AUDIO_FORMAT_PCM || main_part == AUDIO_FORMAT_IEC61937;
}
