#include "player_service/playback/play_clock.h"

#include <algorithm>

namespace player_service {

namespace {

constexpr uint64_t kNsPerSecond = 1000000000;

}  // namespace

std::chrono::nanoseconds play_clock::duration_of(uint64_t frames) const {
    // In two parts, which do not overflow.
    return std::chrono::nanoseconds(frames / rate_hz_ * kNsPerSecond +
                                    frames % rate_hz_ * kNsPerSecond / rate_hz_);
}

size_t play_clock::room_frames(time_point now) const {
    const std::chrono::nanoseconds queued = std::max(end() - now, time_point::duration(0));
    if (queued == queued.zero()) {
        return std::max<size_t>(1, static_cast<size_t>(static_cast<uint64_t>(buffer_.count()) *
                                                       rate_hz_ / kNsPerSecond));
    }
    if (queued >= buffer_) {
        return 0;
    }
    return static_cast<size_t>(static_cast<uint64_t>((buffer_ - queued).count()) * rate_hz_ /
                               kNsPerSecond);
}

void play_clock::add(size_t frames, time_point now) {
    if (end() <= now) {
        start_ = now;
        frames_ = 0;
    }
    frames_ += frames;
}

}  // namespace player_service
