// When sound that was handed over has been heard, by the clock: a card with a buffer of so much
// time, which starts with the first frame and stops while it has none.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace player_service {

class play_clock {
  public:
    using time_point = std::chrono::steady_clock::time_point;

    play_clock(uint32_t rate_hz, std::chrono::nanoseconds buffer)
        : rate_hz_(rate_hz), buffer_(buffer) {}

    // Frames that fit now; at least one in an empty buffer.
    size_t room_frames(time_point now) const;
    void add(size_t frames, time_point now);
    // When everything has been heard.
    time_point end() const { return start_ + duration_of(frames_); }

  private:
    std::chrono::nanoseconds duration_of(uint64_t frames) const;

    const uint32_t rate_hz_;
    const std::chrono::nanoseconds buffer_;
    time_point start_{};
    uint64_t frames_ = 0;  // since start_, so that no rounding adds up
};

}  // namespace player_service
