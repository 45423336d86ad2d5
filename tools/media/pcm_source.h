// Turns an audio file into the interleaved 16-bit frames that an output stream takes.
//
// Channels are mixed first (channel_mix.h), then the rate is converted, then samples are rounded to
// 16 bits without dither; NaN becomes silence. When rate and layout already fit, 16-bit samples
// come through bit for bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/media/audio_file.h"
#include "tools/media/channel_mix.h"
#include "tools/media/rate_converter.h"

// host/sample.h's, which also adds 1 to `clipped` for a sample beyond full scale.
int16_t to_int16(float sample, uint64_t& clipped);

class pcm_source {
  public:
    // Borrows the file for its own lifetime.
    pcm_source(audio_file& file, uint32_t out_rate_hz, const speaker_layout& out_layout);

    // Fills `frames` frames, fewer only at the end of the file; 0 when there is nothing left.
    size_t read(int16_t* samples, size_t frames);

    size_t out_channels() const { return mix_.out_channels(); }
    uint64_t frames_expected() const;  // of the output, from the file's header
    uint64_t file_frames_read() const { return file_frames_read_; }
    uint64_t clipped_samples() const { return clipped_samples_; }
    bool changes_rate() const { return converter_.has_value(); }
    bool changes_channels() const { return !mix_.is_identity(); }

  private:
    bool refill();

    audio_file& file_;
    uint32_t out_rate_hz_;
    channel_mix mix_;
    std::optional<rate_converter> converter_;
    std::vector<float> from_file_;
    std::vector<float> mixed_;
    std::vector<float> ready_;  // samples of the output layout and rate
    size_t ready_taken_ = 0;    // samples of ready_ already given away
    uint64_t file_frames_read_ = 0;
    uint64_t clipped_samples_ = 0;
    bool at_end_ = false;
};
