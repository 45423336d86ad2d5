// Files of sound through libsndfile: its handle, and the one way in which they are written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

struct sf_private_tag;

struct sound_file_closer {
    void operator()(sf_private_tag* file) const;
};
using sound_file_handle = std::unique_ptr<sf_private_tag, sound_file_closer>;

// A WAV file of 16-bit samples. It can be read after each append, even when the program is killed
// then. One thread at a time.
class wav_writer {
  public:
    // The sizes in the header have 32 bits; beyond this, append() stores nothing.
    static constexpr uint64_t max_bytes = 0xFFFFFFFFU - 4096;

    // Makes the file, or empties it. Null with a reason when it cannot be written.
    static std::unique_ptr<wav_writer> create(const std::string& path, uint32_t rate_hz,
                                              unsigned channels, std::string& reason);

    // False when not all frames could be stored.
    bool append(const int16_t* samples, size_t frames);

    // Why they could not.
    std::string error() const;

    uint64_t bytes() const { return bytes_; }  // of samples

  private:
    wav_writer(sound_file_handle file, size_t frame_bytes)
        : file_(std::move(file)), frame_bytes_(frame_bytes) {}

    const sound_file_handle file_;
    const size_t frame_bytes_;
    uint64_t bytes_ = 0;
    bool is_full_ = false;
};
