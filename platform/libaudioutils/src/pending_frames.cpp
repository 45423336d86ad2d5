#include "pending_frames.h"

#include <cstdlib>
#include <cstring>

namespace audioutils {

pending_frames::~pending_frames() {
    std::free(samples_);
}

bool pending_frames::reserve(size_t frames) {
    if (frames <= capacity_frames_) {
        return true;
    }
    if (frames > SIZE_MAX / sizeof(int16_t) / channels_) {
        return false;
    }
    void* const grown = std::realloc(samples_, frames * channels_ * sizeof(int16_t));
    if (grown == nullptr) {
        return false;
    }
    samples_ = static_cast<int16_t*>(grown);
    capacity_frames_ = frames;
    return true;
}

void pending_frames::append(const void* samples, size_t frames) {
    std::memcpy(samples_ + frames_ * channels_, samples, frames * channels_ * sizeof(int16_t));
    frames_ += frames;
}

void pending_frames::drop(size_t frames) {
    frames_ -= frames;
    if (frames_ > 0 && frames > 0) {
        std::memmove(samples_, samples_ + frames * channels_,
                     frames_ * channels_ * sizeof(int16_t));
    }
}

}  // namespace audioutils
