// What decoded sound is like: signed 16-bit samples in host order, interleaved, in the channel
// order of WAV files.
#pragma once

#include <cstdint>

namespace player_service {

struct audio_format {
    unsigned channels = 0;
    uint32_t rate_hz = 0;
};

inline bool operator==(const audio_format& a, const audio_format& b) {
    return a.channels == b.channels && a.rate_hz == b.rate_hz;
}
inline bool operator!=(const audio_format& a, const audio_format& b) {
    return !(a == b);
}

// What the service decodes and plays. Beyond it, a stream is taken for damaged.
constexpr unsigned kMaxChannels = 8;
constexpr uint32_t kMinRateHz = 8000;
constexpr uint32_t kMaxRateHz = 192000;

}  // namespace player_service
