#include "wav_pace.h"

#include <algorithm>

namespace tinyalsa {

namespace {

constexpr uint64_t kNsPerSecond = 1000000000;

}  // namespace

uint64_t wav_pace::played_since_start(uint64_t now_ns) const {
    const uint64_t elapsed_ns = now_ns > start_ns_ ? now_ns - start_ns_ : 0;
    // In two parts, which do not overflow.
    const uint64_t frames =
        elapsed_ns / kNsPerSecond * rate_hz_ + elapsed_ns % kNsPerSecond * rate_hz_ / kNsPerSecond;
    return std::min(frames, queued_from_start_);
}

uint32_t wav_pace::free_frames(uint64_t now_ns) const {
    const uint64_t queued = queued_from_start_ - played_since_start(now_ns);
    return buffer_frames_ - static_cast<uint32_t>(std::min<uint64_t>(queued, buffer_frames_));
}

void wav_pace::add(uint32_t frames, uint64_t now_ns) {
    if (free_frames(now_ns) == buffer_frames_) {
        start_ns_ = now_ns;
        queued_from_start_ = 0;
    }
    queued_from_start_ += frames;
}

uint64_t wav_pace::time_of_room_ns(uint32_t frames, uint64_t now_ns) const {
    const uint64_t needed = queued_from_start_ + std::min(frames, buffer_frames_);
    if (needed <= buffer_frames_) {
        return now_ns;
    }
    const uint64_t to_play = needed - buffer_frames_;
    // Rounded up, else a waiter would wake just before the frame has gone.
    const uint64_t duration_ns = to_play / rate_hz_ * kNsPerSecond +
                                 (to_play % rate_hz_ * kNsPerSecond + rate_hz_ - 1) / rate_hz_;
    return std::max(now_ns, start_ns_ + duration_ns);
}

}  // namespace tinyalsa
