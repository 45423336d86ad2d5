// Input that a resampler has pulled from its provider and not used up yet.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace audioutils {

class pending_frames {
  public:
    explicit pending_frames(uint32_t channels) : channels_(channels) {}
    ~pending_frames();
    pending_frames(const pending_frames&) = delete;
    pending_frames& operator=(const pending_frames&) = delete;

    // Makes room for `frames` in all. False when memory is short; what is held stays.
    bool reserve(size_t frames);

    // Copies frames behind those that are held; there must be room for them.
    void append(const void* samples, size_t frames);

    // Forgets the oldest frames.
    void drop(size_t frames);

    const int16_t* samples() const { return samples_; }
    size_t frames() const { return frames_; }

  private:
    const uint32_t channels_;
    int16_t* samples_ = nullptr;
    size_t frames_ = 0;
    size_t capacity_frames_ = 0;
};

}  // namespace audioutils
