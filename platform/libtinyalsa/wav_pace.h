// How far a sound card would be with the frames it was given.
//
// Plays from the first frame on at the nominal rate, and when it has run dry, from the next frame
// on again. The caller brings the time, in nanoseconds of one steady clock, and the lock.
#pragma once

#include <stdint.h>

namespace tinyalsa {

class wav_pace {
  public:
    wav_pace(uint32_t rate_hz, uint32_t buffer_frames)
        : rate_hz_(rate_hz), buffer_frames_(buffer_frames) {}

    // Frames that the buffer has room for.
    uint32_t free_frames(uint64_t now_ns) const;

    // Queues frames, at most free_frames().
    void add(uint32_t frames, uint64_t now_ns);

    // When there will be room for that many frames, at most the buffer: now, or later.
    uint64_t time_of_room_ns(uint32_t frames, uint64_t now_ns) const;

    // Forgets what is queued.
    void drop() { queued_from_start_ = 0; }

  private:
    uint64_t played_since_start(uint64_t now_ns) const;

    const uint32_t rate_hz_;
    const uint32_t buffer_frames_;
    uint64_t start_ns_ = 0;
    uint64_t queued_from_start_ = 0;  // frames, played ones included
};

}  // namespace tinyalsa
