// An audio file opened for reading: anything libsndfile knows, as interleaved float samples where
// full scale is 1.0. 16-bit and 24-bit samples come through exactly.
//
// One thread. Every failure is a program_error that names the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/sound_file.h"
#include "tools/media/channel_mix.h"

class audio_file {
  public:
    // Refuses what is no regular file, holds no audio, or has a rate or channel count out of range.
    explicit audio_file(const std::string& path);
    audio_file(const audio_file&) = delete;
    audio_file& operator=(const audio_file&) = delete;

    const std::string& path() const { return path_; }
    uint32_t rate_hz() const { return rate_hz_; }
    unsigned channels() const { return static_cast<unsigned>(layout_.size()); }
    const speaker_layout& layout() const { return layout_; }
    uint64_t frames() const { return frames_; }  // what the header promises
    const std::string& format_name() const { return format_name_; }

    // Reads up to `frames` frames; 0 at the end. Throws when the file turns out to be damaged.
    size_t read(float* samples, size_t frames);

  private:
    std::string path_;
    uint32_t rate_hz_ = 0;
    uint64_t frames_ = 0;
    speaker_layout layout_;
    std::string format_name_;
    sound_file_handle file_;
};
